#pragma once

#include "platform/host/EventLoopHost.h"

#include <QIcon>

namespace Tavrel
{

/// The real machine with a desktop: message boxes are windows.
///
/// While a box is open the user cannot close any other window of the program: QMessageBox::exec
/// makes the box application-modal, and Qt rejects a close request from the window manager for a
/// window that a modal one blocks. Code can: QWidget::close is not rejected.
class DesktopHost : public EventLoopHost
{
public:
    using Host::MsgBox;
    void MsgBox(const QString &text, const QString &title, MsgBoxIcon icon) override;

private:
    /// Created by the first box that shows it, and kept: Qt caches a copy of every icon ever
    /// created.
    QIcon m_criticalIcon;
};

} // namespace Tavrel
