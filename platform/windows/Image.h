#pragma once

#include <QPixmap>
#include <QWidget>

namespace Tavrel
{

/// An opaque bitmap that covers the whole control.
class Image : public QWidget
{
public:
    Image(const QPixmap &picture, QWidget *parent);

    /// Brings the image in front of the others in its container.
    void ZOrder() { raise(); }

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    QPixmap m_picture;
};

} // namespace Tavrel
