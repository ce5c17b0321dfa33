#include "tools/sitetool/New.h"

#include "tools/sitetool/Draft.h"
#include "tools/sitetool/NewDatabase.h"

#include <QFile>

#include <iostream>

int makeNew(const QStringList &arguments)
{
    QFile schema(QStringLiteral(":/schema.sql"));
    if (!schema.open(QIODevice::ReadOnly))
        qFatal("The schema is not built in.");

    Draft draft(databaseNamed(arguments.value(0)));
    NewDatabase(draft.path()).run(schema.readAll());
    draft.publish();
    std::cout << "Made " << qPrintable(draft.target()) << std::endl;
    return 0;
}
