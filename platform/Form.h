#pragma once

#include <QAbstractButton>
#include <QWidget>

#include <functional>
#include <memory>

/// A window of fixed size with a title bar: a top-level window of its own on the desktop.
class Form : public QWidget
{
public:
    /// `clientWidth` and `clientHeight` in twips; `titleBarButtons`: the hints of those that the
    /// title bar has.
    Form(const QString &name, const QString &caption, int clientWidth, int clientHeight,
         Qt::WindowFlags titleBarButtons);

    /// Runs when the window is being closed by anybody: by its close box, by close().
    void onUnload(std::function<void()> unloaded) { m_unloaded = std::move(unloaded); }

protected:
    /// The button that Esc presses; none at first.
    void cancelButton(QAbstractButton *button) { m_cancelButton = button; }

    /// Esc presses the cancel button, Enter the button that has the focus.
    void keyPressEvent(QKeyEvent *event) override;
    void closeEvent(QCloseEvent *event) override;

private:
    QAbstractButton *m_cancelButton = nullptr;
    std::function<void()> m_unloaded;
};

/// Puts a window that is not shown yet in the middle of the whole screen, and keeps it there, its
/// frame included, for as long as nobody moves it.
void centreOnScreen(QWidget &window);

/// A form that is made when it is first touched and gone once it is unloaded, however it comes to
/// be closed. The next touch makes it anew.
template <typename Window> class OnDemand
{
public:
    ~OnDemand() { Unload(); }

    Window *operator->()
    {
        if (!m_window) {
            m_window = std::make_unique<Window>();
            m_window->onUnload([this] { Unload(); });
        }
        return m_window.get();
    }

    /// It may be the window's own event that unloads it, so the object goes a little later.
    void Unload()
    {
        if (Window *window = m_window.release()) {
            window->onUnload({});
            window->hide();
            window->deleteLater();
        }
    }

private:
    std::unique_ptr<Window> m_window;
};
