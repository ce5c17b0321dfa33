#include "tools/records/EmployeeList.h"

#include "tools/console/Console.h"
#include "tools/console/NotDone.h"
#include "tools/records/Employees.h"

#include <QFile>
#include <QFileInfo>
#include <QHash>
#include <QRegularExpression>
#include <QSet>
#include <QStringDecoder>

#include <algorithm>

namespace Tavrel
{

using namespace Qt::StringLiterals;

namespace
{

enum Action { Add, Rename, Doubt, Refused, Unchanged };

struct Line {
    qsizetype number; ///< in the file, from 1; of its first, if quotes contain line breaks
    QStringList cells = {};
    QString badge = {};
    QString name = {};
    Action action = Unchanged;
    QString remarks = {};

    void set(Action found, const QString &remark)
    {
        action = found;
        remarks += remarks.isEmpty() ? remark : u"; "_s + remark;
    }
};
using Lines = std::vector<Line>;

QString textOf(const QString &path)
{
    constexpr qint64 MaximumSize = 1 << 20; // swipes wait while it is stored
    const auto require = [&](bool holds, const QString &what) {
        if (!holds)
            throw NotDone{u"Cannot read \"%1\": %2."_s.arg(path, what)};
    };
    QFile file(path);
    // Reading from anything else might block.
    require(!file.exists() || QFileInfo(path).isFile(), u"not a regular file"_s);
    const bool isOpen = file.open(QIODevice::ReadOnly);
    require(isOpen, file.errorString());
    const QByteArray bytes = file.read(MaximumSize + 1);
    require(!bytes.isEmpty(), u"empty"_s);
    require(bytes.size() <= MaximumSize, u"larger than 1 MiB"_s);
    QStringDecoder windows("windows-1252");
    require(!bytes.contains('\0') && (bytes.isValidUtf8() || windows.isValid()),
            u"not text in UTF-8; save the list as \"CSV UTF-8\" in the spreadsheet"_s);
    return bytes.isValidUtf8() ? QString::fromUtf8(bytes) : QString(windows(bytes));
}

/// The lines that are not blank. Blanks around cells, and blank cells at the end, are dropped.
Lines linesOf(QString text)
{
    text.replace(u"\r\n"_s, u"\n"_s).replace(u'\r', u'\n');
    static const QRegularExpression Quoted(u"\"[^\"]*\""_s);
    const QString first =
        QString(text).remove(Quoted).section(u'\n', 0, 0, QString::SectionSkipEmpty);
    const QChar delimiter = first.contains(u'\t') ? u'\t' : first.contains(u';') ? u';' : u',';
    // A cell is quoted, or unquoted, or invalid up to the end of the line.
    const QRegularExpression form(
        uR"~(\G(?:\x20*"((?:[^"]++|"")*+)"\x20*|(?!\x20*")([^%1\n]*)|(\x20*"[^\n]*))(%1|\n|\z))~"_s
            .arg(delimiter));
    Lines lines;
    Line line{1};
    qsizetype number = 1;
    for (auto matches = form.globalMatch(text); matches.hasNext();) {
        const auto match = matches.next();
        const QString quoted = match.captured(1).replace(u"\"\""_s, u"\""_s);
        line.cells += (quoted + match.captured(2)).trimmed();
        if (match.capturedLength(3) > 0)
            line.set(Refused, u"invalid quotes"_s);
        number += match.capturedView().count(u'\n');
        if (match.capturedView(4) == delimiter)
            continue;
        while (!line.cells.isEmpty() && line.cells.last().isEmpty())
            line.cells.removeLast();
        if (!line.cells.isEmpty() || line.action == Refused)
            lines.push_back(line);
        line = {number};
    }
    return lines;
}

/// Removes a heading, sets the badges and names, and refuses lines.
void readColumns(Lines &lines)
{
    const auto find = [&](const QString &words) {
        const QRegularExpression form(words, QRegularExpression::CaseInsensitiveOption);
        return lines.empty() ? -1 : lines[0].cells.indexOf(form);
    };
    qsizetype badgeAt = find(u"PersonalID|(Badge|Card)([ -]?(ID|No\\.?|Number))?"_s);
    if (badgeAt < 0) // beside a badge, these only count the lines
        badgeAt = find(u"ID|No\\.?|Number"_s);
    qsizetype nameAt = find(u"((Full|Employee)[ -]?)?Name"_s);
    if (nameAt < 0)
        nameAt = find(u"Employee"_s);
    qsizetype count = 2;
    if (badgeAt >= 0 && nameAt >= 0) {
        count = lines[0].cells.size();
        lines.erase(lines.begin());
    } else {
        badgeAt = 0;
        nameAt = 1;
    }

    QHash<QString, qsizetype> lineOf;
    for (Line &line : lines) {
        line.badge = line.cells.value(badgeAt);
        line.name = line.cells.value(nameAt);
        const QString why = whyRefused(line.badge, line.name);
        if (line.action == Refused)
            continue;
        if (line.cells.size() > count)
            line.set(Refused, u"%1 columns instead of %2"_s.arg(line.cells.size()).arg(count));
        else if (!why.isEmpty())
            line.set(Refused, why);
        else if (lineOf.contains(line.badge))
            line.set(Refused, u"same badge as line %1"_s.arg(lineOf[line.badge]));
        else
            lineOf[line.badge] = line.number;
    }
}

QString withoutZeros(const QString &badge)
{
    static const QRegularExpression Zeros(u"^0+"_s);
    return QString(badge).remove(Zeros);
}

/// Finds what the lines that are not refused change, and doubts what only looks wrong.
void compare(Lines &lines, TimeDatabase &database)
{
    QHash<QString, QString> names;
    QHash<QString, QString> badges; // by what is left without zeros
    QSet<qsizetype> storedLengths;
    Statement rows = database.statement(u"SELECT PersonalID, Name FROM Employee"_s);
    while (rows.step()) {
        const QString badge = rows.value(0).toVariant().toString();
        names[badge] = rows.value(1).toVariant().toString();
        badges[withoutZeros(badge)] = badge;
        storedLengths += badge.size();
    }
    static const QRegularExpression OtherThanDigits(u"[^0-9]"_s);
    // The most frequent; of several the longest, as badges lose zeros and gain none.
    qsizetype usualLength = 0;
    QHash<qsizetype, int> lengths;
    for (const Line &line : lines) {
        const qsizetype length = line.badge.size();
        if (line.action == Refused || line.badge.contains(OtherThanDigits))
            continue;
        const int lead = ++lengths[length] - lengths.value(usualLength);
        if (lead > 0 || (lead == 0 && length > usualLength))
            usualLength = length;
    }

    static const QRegularExpression LikelyName(u"^\\P{C}*\\p{L}\\P{C}*$"_s);
    for (Line &line : lines) {
        const bool isKnown = names.contains(line.badge);
        if (line.action == Refused || (isKnown && names[line.badge] == line.name))
            continue;
        line.set(isKnown ? Rename : Add, isKnown ? u"was "_s + names[line.badge] : QString());
        if (!LikelyName.match(line.name).hasMatch())
            line.set(Doubt, u"unlikely name"_s);
        if (isKnown)
            continue;
        const QString twin = badges.value(withoutZeros(line.badge));
        const qsizetype length = line.badge.size();
        if (line.badge.contains(OtherThanDigits))
            line.set(Doubt, u"badge not only of digits"_s);
        if (!twin.isNull())
            line.set(Doubt, u"is this badge %1?"_s.arg(twin));
        else if (length != usualLength ||
                 (!storedLengths.isEmpty() && !storedLengths.contains(length)))
            line.set(Doubt, u"badge of unusual length"_s);
    }
}

void print(const Lines &lines)
{
    static const QStringList Names{"add", "rename", "doubt", "refused"};
    TextTable table({">Line", "Action", "Badge", "Name", "Remarks"});
    for (const Line &line : lines) {
        if (line.action != Unchanged)
            table.add({QString::number(line.number), Names[line.action], line.badge, line.name,
                       line.remarks});
    }
    table.print(TextTable::Aligned);
}

} // namespace

int importEmployees(const CommandLine &line)
{
    Lines lines = linesOf(textOf(line.arguments[0]));
    readColumns(lines);
    const auto count = [&](Action action) {
        return std::ranges::count(lines, action, &Line::action);
    };
    TimeDatabase database(line.file);
    bool isStored = false;
    // Printing waits for the reader of a pipe, so never within the transaction.
    const auto run = [&] {
        compare(lines, database);
        isStored = line.has(u"apply"_s) && count(Refused) == 0 &&
                   (count(Doubt) == 0 || line.has(u"doubtful"_s));
        for (const Line &entry : lines) {
            if (isStored && entry.action != Unchanged)
                setEmployee(database, entry.badge, entry.name, line);
        }
    };
    if (line.has(u"apply"_s))
        database.change(run);
    else
        run();

    print(lines);
    Console::say(
        u"%1 to add, %2 to rename, %3 doubtful, %4 refused, %5 unchanged."_s.arg(count(Add))
            .arg(count(Rename))
            .arg(count(Doubt))
            .arg(count(Refused))
            .arg(count(Unchanged)));
    if (count(Refused) > 0)
        throw NotDone{u"Nothing is stored; correct the refused lines."_s};
    if (count(Unchanged) == std::ssize(lines))
        Console::say(u"Nothing to store."_s);
    else if (isStored)
        Console::say(u"Stored."_s);
    else if (line.has(u"apply"_s))
        throw NotDone{u"Nothing is stored; correct the doubtful lines, or add --doubtful."_s};
    else
        Console::say(u"Nothing is stored yet; to store this, add --apply%1."_s.arg(
            count(Doubt) > 0 ? u" --doubtful"_s : QString()));
    return Console::Succeeded;
}

} // namespace Tavrel
