#pragma once

#include "platform/EventLoopHost.h"

/// The real machine with a desktop: message boxes are windows.
class DesktopHost : public EventLoopHost
{
public:
    using Host::MsgBox;
    void MsgBox(const QString &text, const QString &title, MsgBoxIcon icon) override;
};
