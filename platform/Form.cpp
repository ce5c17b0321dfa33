#include "platform/Form.h"

#include "platform/Controls.h"

#include <QCloseEvent>
#include <QKeyEvent>
#include <QScreen>
#include <QWindow>

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

namespace
{

void moveToCentre(QWidget &window)
{
    QRect frame = window.frameGeometry();
    frame.moveCenter(window.screen()->availableGeometry().center());
    window.move(frame.topLeft());
}

/// Centres a window when it is first exposed, and goes.
class CentreOnExpose : public QObject
{
public:
    explicit CentreOnExpose(QWidget &window) : QObject(&window), m_window(window)
    {
        window.windowHandle()->installEventFilter(this);
    }

    bool eventFilter(QObject *, QEvent *event) override
    {
        if (event->type() == QEvent::Expose) {
            moveToCentre(m_window);
            m_window.windowHandle()->removeEventFilter(this);
            deleteLater();
        }
        return false;
    }

private:
    QWidget &m_window;
};

} // namespace

void centreOnScreen(QWidget &window)
{
    window.winId(); // makes its window on the screen, still hidden
    moveToCentre(window);
    new CentreOnExpose(window);
}
