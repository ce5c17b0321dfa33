#pragma once

#include "platform/host/EventLoopHost.h"

#include <QIcon>

namespace Tavrel
{

/// The real machine with a desktop: message boxes are windows.
class DesktopHost : public EventLoopHost
{
public:
    using Host::MsgBox;
    void MsgBox(const QString &text, const QString &title, MsgBoxIcon icon) override;

private:
    /// Made with the first box that shows it: the toolkit keeps a copy of every one it ever made.
    QIcon m_criticalIcon;
};

} // namespace Tavrel
