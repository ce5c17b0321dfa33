#pragma once

#include <memory>

namespace Tavrel
{

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

    bool IsLoaded() const { return m_window != nullptr; }

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

} // namespace Tavrel
