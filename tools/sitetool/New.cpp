#include "tools/sitetool/New.h"

#include "tools/console/Console.h"
#include "tools/sitetool/Draft.h"
#include "tools/sitetool/NewDatabase.h"

#include <QFile>

namespace Tavrel
{

using namespace Qt::StringLiterals;

int makeNew(const QStringList &arguments)
{
    QFile schema(u":/store/schema.sql"_s);
    if (!schema.open(QIODevice::ReadOnly))
        qFatal("The schema is not built in.");

    Draft draft(databaseNamed(arguments.value(0)));
    NewDatabase database;
    database.run(schema.readAll());
    draft.write(database.bytes());
    draft.publish();
    Console::say(u"Made %1."_s.arg(draft.target()));
    return 0;
}

} // namespace Tavrel
