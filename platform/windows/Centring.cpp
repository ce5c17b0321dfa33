#include "platform/windows/Centring.h"

#include <QAbstractNativeEventFilter>
#include <QCoreApplication>
#include <QScreen>
#include <QWindow>

namespace Tavrel
{

namespace
{

/// The window manager may add or change the frame of a window at any time, and Qt reports no change
/// of the frame margins. So the margins are checked after every native event.
class Centring : public QObject, public QAbstractNativeEventFilter
{
public:
    explicit Centring(QWidget &window) : QObject(&window), m_window(window)
    {
        centre();
        QCoreApplication::instance()->installNativeEventFilter(this);
    }

    bool nativeEventFilter(const QByteArray &, void *, qintptr *) override
    {
        // Qt has not processed the event yet.
        QMetaObject::invokeMethod(this, &Centring::centreInNewFrame, Qt::QueuedConnection);
        return false;
    }

private:
    /// Empty until the window has a handle, which it gets when it is shown. Creating one earlier,
    /// with winId(), would turn all controls of the window's owner into native windows.
    QMargins margins() const
    {
        const QWindow *handle = m_window.windowHandle();
        return handle ? handle->frameMargins() : QMargins();
    }

    /// If the window is elsewhere, the user has moved it, or the window manager has not yet
    /// reported where it put it; that report is a native event, too.
    void centreInNewFrame()
    {
        if (margins() != m_margins && m_window.geometry() == m_place)
            centre();
    }

    void centre()
    {
        m_margins = margins();
        QRect frame(QPoint(), m_window.size().grownBy(m_margins));
        frame.moveCenter(m_window.screen()->geometry().center());
        m_place = frame.marginsRemoved(m_margins);
        m_window.setGeometry(m_place);
    }

    QWidget &m_window;
    QMargins m_margins;
    QRect m_place; ///< without the frame
};

} // namespace

void centreOnScreen(QWidget &window)
{
    new Centring(window);
}

} // namespace Tavrel
