#pragma once

#include <QLabel>

namespace Tavrel
{

/// A label whose text is squeezed, not cut, when the typeface at hand is too wide for its place.
class Label : public QLabel
{
public:
    Label(const QString &caption, QWidget *parent) : QLabel(caption, parent) {}

protected:
    void resizeEvent(QResizeEvent *event) override;

private:
    using QLabel::setText; // which does not squeeze
};

} // namespace Tavrel
