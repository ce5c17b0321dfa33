#include "platform/windows/Form.h"

#include "platform/windows/Twips.h"

#include <QCloseEvent>
#include <QKeyEvent>

namespace Tavrel
{

Form::Form(const QString &name, const QString &caption, int clientWidth, int clientHeight,
           Qt::WindowFlags titleBarButtons)
    : QWidget(nullptr, Qt::Window | Qt::CustomizeWindowHint | Qt::WindowTitleHint | titleBarButtons)
{
    setObjectName(name);
    setWindowTitle(caption);
    setFixedSize(pixels(clientWidth), pixels(clientHeight));
}

void Form::keyPressEvent(QKeyEvent *event)
{
    switch (event->key()) {
    case Qt::Key_Escape:
        if (m_cancelButton)
            m_cancelButton->click();
        break;
    case Qt::Key_Return:
    case Qt::Key_Enter:
        if (auto *focused = qobject_cast<QAbstractButton *>(focusWidget()))
            focused->click();
        break;
    default:
        QWidget::keyPressEvent(event);
    }
}

void Form::closeEvent(QCloseEvent *event)
{
    event->accept();
    if (const auto unloaded = m_unloaded) // unloading clears the member
        unloaded();
}

} // namespace Tavrel
