#pragma once

#include <memory>

namespace Tavrel
{

/// A form that is created on first access and destroyed when it is unloaded, however it is closed.
/// The next access creates a new one.
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

    /// Deletes the window later, because this may run inside one of its own events.
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
