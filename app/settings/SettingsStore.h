#pragma once

#include <QString>

namespace Tavrel
{

/// The per-user store of named texts: an ini file in the user's configuration folder,
/// `$XDG_CONFIG_HOME/<application>/<application>.conf`, one section per group.

/// The folder that holds the store of `application`, whether or not it exists.
QString settingsFolder(const QString &application);

/// The store itself, whether or not it exists.
QString settingsFile(const QString &application);

/// The stored text, as the file holds it at this moment, or `fallback` when the key does not
/// exist. A key that exists with empty text gives the empty text. A file that cannot be read, and
/// what is no regular file, count as one without the key; a file that is not in the format counts
/// with the keys that can be made out. Creates nothing.
QString GetSetting(const QString &application, const QString &section, const QString &key,
                   const QString &fallback);

/// Stores `text`, creating folder, file, section and key as needed, and keeps all other keys, the
/// file's permissions and a link to it. The file is replaced in one step. Failure 75 (no
/// right to write or read, no room, no ini file in UTF-8, no regular file) names the file; the
/// file, and what GetSetting reads, stay as they were.
void SaveSetting(const QString &application, const QString &section, const QString &key,
                 const QString &text);

} // namespace Tavrel
