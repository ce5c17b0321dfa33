#pragma once

#include "tools/console/TextTable.h"

#include <QMap>
#include <QString>
#include <QStringList>

namespace Tavrel
{

/// What a command receives.
struct CommandLine {
    QStringList arguments;          ///< after the command's name
    QMap<QString, QString> options; ///< values by name, without the dashes; empty for a switch
    QString file;                   ///< the database

    bool has(const QString &option) const { return options.contains(option); }

    TextTable::Format format() const
    {
        return has(QStringLiteral("csv")) ? TextTable::Csv : TextTable::Aligned;
    }
};

} // namespace Tavrel
