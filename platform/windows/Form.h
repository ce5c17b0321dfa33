#pragma once

#include <QAbstractButton>
#include <QWidget>

#include <functional>

namespace Tavrel
{

/// A top-level window of fixed size with a title bar.
class Form : public QWidget
{
public:
    /// `clientWidth` and `clientHeight` in twips; `titleBarButtons`: the window hints for the
    /// buttons of the title bar.
    Form(const QString &name, const QString &caption, int clientWidth, int clientHeight,
         Qt::WindowFlags titleBarButtons);

    /// Sets the callback that runs when the window is closed, by its close button or by close().
    void onUnload(std::function<void()> unloaded) { m_unloaded = std::move(unloaded); }

protected:
    /// The button that Esc presses; none by default.
    void setCancelButton(QAbstractButton *button) { m_cancelButton = button; }

    /// Esc presses the cancel button, Enter the button that has the focus.
    void keyPressEvent(QKeyEvent *event) override;
    void closeEvent(QCloseEvent *event) override;

private:
    QAbstractButton *m_cancelButton = nullptr;
    std::function<void()> m_unloaded;
};

} // namespace Tavrel
