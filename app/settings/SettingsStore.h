#pragma once

#include <QString>

namespace Tavrel
{

/// The per-user store of named texts: an ini file in the user's configuration folder,
/// `$XDG_CONFIG_HOME/<application>/<application>.conf`, one section per group.

/// The folder that holds the store of `application`, whether or not it exists.
QString settingsFolder(const QString &application);

/// The path of the store itself, whether or not it exists.
QString settingsFile(const QString &application);

/// The stored text, read from the file at each call, or `fallback` if the key does not exist. A key
/// with empty text gives the empty text. A file that cannot be read, or is not a regular file,
/// counts as one without the key; in a malformed file, the keys that can be parsed count. Creates
/// nothing.
QString GetSetting(const QString &application, const QString &section, const QString &key,
                   const QString &fallback);

/// Stores `text`, creating folder, file, section and key as needed, and keeps all other keys, the
/// file's permissions and a link to it. The file is replaced in one step. Throws
/// Failure::PathFileAccess, which names the file, if it may not be read or written, the disk is
/// full, or it is not a regular file or not an ini file in UTF-8; the file, and what GetSetting
/// returns, are then unchanged.
void SaveSetting(const QString &application, const QString &section, const QString &key,
                 const QString &text);

} // namespace Tavrel
