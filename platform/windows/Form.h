#pragma once

#include <QAbstractButton>
#include <QWidget>

#include <functional>

namespace Tavrel
{

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
    void setCancelButton(QAbstractButton *button) { m_cancelButton = button; }

    /// Esc presses the cancel button, Enter the button that has the focus.
    void keyPressEvent(QKeyEvent *event) override;
    void closeEvent(QCloseEvent *event) override;

private:
    QAbstractButton *m_cancelButton = nullptr;
    std::function<void()> m_unloaded;
};

} // namespace Tavrel
