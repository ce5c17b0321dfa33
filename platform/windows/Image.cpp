#include "platform/windows/Image.h"

#include <QPainter>

namespace Tavrel
{

Image::Image(const QPixmap &picture, QWidget *parent) : QWidget(parent), m_picture(picture)
{
    setAttribute(Qt::WA_OpaquePaintEvent);
    setAttribute(Qt::WA_NoSystemBackground);
}

void Image::paintEvent(QPaintEvent *)
{
    QPainter(this).drawPixmap(0, 0, m_picture);
}

} // namespace Tavrel
