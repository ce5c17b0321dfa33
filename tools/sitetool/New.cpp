#include "tools/sitetool/New.h"

#include "tools/console/Console.h"
#include "tools/sitetool/Draft.h"
#include "tools/sitetool/NewDatabase.h"

#include <QFile>

int makeNew(const QStringList &arguments)
{
    QFile schema(QStringLiteral(":/store/schema.sql"));
    if (!schema.open(QIODevice::ReadOnly))
        qFatal("The schema is not built in.");

    Draft draft(databaseNamed(arguments.value(0)));
    NewDatabase database;
    database.run(schema.readAll());
    draft.write(database.bytes());
    draft.publish();
    Console::say(QStringLiteral("Made %1.").arg(draft.target()));
    return 0;
}
