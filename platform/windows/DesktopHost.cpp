#include "platform/windows/DesktopHost.h"

#include <QMessageBox>
#include <QStyle>

namespace Tavrel
{

void DesktopHost::MsgBox(const QString &text, const QString &title, MsgBoxIcon icon)
{
    QMessageBox box(QMessageBox::NoIcon, title, text, QMessageBox::Ok);
    box.setTextFormat(Qt::PlainText);
    if (icon == MsgBoxIcon::Critical) {
        if (m_criticalIcon.isNull())
            m_criticalIcon = box.style()->standardIcon(QStyle::SP_MessageBoxCritical);
        box.setIconPixmap(
            m_criticalIcon.pixmap(box.style()->pixelMetric(QStyle::PM_MessageBoxIconSize)));
    }
    box.exec();
}

} // namespace Tavrel
