#pragma once

#include <QLabel>

namespace Tavrel
{

/// A label that squeezes its text, instead of cutting it off, if the available font is too wide.
class Label : public QLabel
{
public:
    Label(const QString &caption, QWidget *parent) : QLabel(caption, parent) {}

protected:
    void resizeEvent(QResizeEvent *event) override;

private:
    using QLabel::setText; // does not squeeze
};

} // namespace Tavrel
