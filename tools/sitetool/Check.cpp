#include "tools/sitetool/Check.h"

#include "tools/sitetool/CheckDatabase.h"
#include "tools/sitetool/CheckReader.h"
#include "tools/sitetool/Findings.h"

#include <QCoreApplication>

namespace Tavrel
{

using namespace Qt::StringLiterals;

int check(const QStringList &arguments)
{
    Findings findings;
    checkDatabase(arguments.value(0, QCoreApplication::applicationDirPath() + u"/Orvanta.mdb"_s),
                  findings);
    checkReader(findings);
    return findings.conclude();
}

} // namespace Tavrel
