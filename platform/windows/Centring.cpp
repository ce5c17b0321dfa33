#include "platform/windows/Centring.h"

#include <QAbstractNativeEventFilter>
#include <QCoreApplication>
#include <QScreen>
#include <QWindow>

namespace Tavrel
{

namespace
{

/// The window system gives a window its frame, or another one, when it likes, and the toolkit
/// takes note of it without a word. So this looks at the margins after every event of the window
/// system, whichever it is.
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
        // The toolkit has yet to take the event in.
        QMetaObject::invokeMethod(this, &Centring::centreInNewFrame, Qt::QueuedConnection);
        return false;
    }

private:
    /// None before the window has a handle, which it gets when it is shown. Making one earlier, by
    /// winId(), would make native windows of all controls of the window's owner.
    QMargins margins() const
    {
        const QWindow *handle = m_window.windowHandle();
        return handle ? handle->frameMargins() : QMargins();
    }

    /// A window that stands elsewhere was moved, or the window system has not yet reported where it
    /// put it; that report is an event, too.
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
