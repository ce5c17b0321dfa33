#include "platform/DesktopHost.h"

#include <QMessageBox>

void DesktopHost::MsgBox(const QString &text, const QString &title, MsgBoxIcon icon)
{
    QMessageBox box(icon == MsgBoxIcon::Critical ? QMessageBox::Critical : QMessageBox::NoIcon,
                    title, text, QMessageBox::Ok);
    box.setTextFormat(Qt::PlainText);
    box.exec();
}
