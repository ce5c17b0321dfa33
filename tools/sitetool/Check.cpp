#include "tools/sitetool/Check.h"

#include "tools/sitetool/CheckDatabase.h"
#include "tools/sitetool/CheckReader.h"
#include "tools/sitetool/Findings.h"

#include <QCoreApplication>

int check(const QStringList &arguments)
{
    Findings findings;
    checkDatabase(
        arguments.value(0, QCoreApplication::applicationDirPath() + QStringLiteral("/Orvanta.mdb")),
        findings);
    checkReader(findings);
    return findings.conclude();
}
