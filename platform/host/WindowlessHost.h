#pragma once

#include "platform/host/EventLoopHost.h"

namespace Tavrel
{

/// The host of a program without windows: keeps what the last message box would have shown.
class WindowlessHost : public EventLoopHost
{
public:
    using Host::MsgBox;
    void MsgBox(const QString &text, const QString &title, MsgBoxIcon) override
    {
        boxText = text;
        boxTitle = title;
    }

    QString boxText; ///< empty until there is a message box
    QString boxTitle;
};

} // namespace Tavrel
