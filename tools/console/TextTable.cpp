#include "tools/console/TextTable.h"

#include "tools/console/Console.h"

#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cwchar>

namespace Tavrel
{

using namespace Qt::StringLiterals;

namespace
{

constexpr QChar ToTheRight = u'>';

/// Width on a terminal, where some letters take two columns and accents none.
qsizetype widthOf(const QString &text)
{
    const std::wstring letters = text.toStdWString();
    return std::max(0, ::wcswidth(letters.c_str(), letters.size()));
}

QString csvCell(QString cell)
{
    // What OWASP lists as the beginnings of formulas.
    static const QString Beginnings = u"=+-@\t\r\n\uFF1D\uFF0B\uFF0D\uFF20"_s;
    if (!cell.isEmpty() && Beginnings.contains(cell[0]))
        cell.prepend(u'\'');
    const auto isSpecial = [](QChar letter) { return u",;\t\"\r\n"_s.contains(letter); };
    if (std::ranges::any_of(cell, isSpecial))
        cell = u'"' + cell.replace(u'"', u"\"\""_s) + u'"';
    return cell;
}

void printCsvLine(const QStringList &cells)
{
    QStringList quoted;
    for (const QString &cell : cells)
        quoted += csvCell(cell);
    const QString line = quoted.join(u',');
    if (::isatty(STDOUT_FILENO))
        Console::say(line);
    else
        std::fputs((line + u"\r\n"_s).toUtf8().constData(), stdout);
}

} // namespace

void TextTable::print(Format format) const
{
    QStringList headings = m_headings;
    for (QString &heading : headings)
        heading.remove(ToTheRight);
    if (format == Csv) {
        printCsvLine(headings);
        std::ranges::for_each(m_rows, printCsvLine);
        std::fflush(stdout);
        return;
    }

    std::vector<QStringList> lines{headings};
    for (const QStringList &row : m_rows) {
        QStringList &line = lines.emplace_back();
        for (const QString &cell : row)
            line += Console::visible(cell);
    }
    std::vector<qsizetype> widths(static_cast<std::size_t>(headings.size()));
    for (const QStringList &line : lines) {
        for (qsizetype i = 0; i < line.size(); ++i)
            widths[i] = std::max(widths[i], widthOf(line[i]));
    }
    for (const QStringList &line : lines) {
        QString text;
        for (qsizetype i = 0; i < line.size(); ++i) {
            const QString gap(widths[i] - widthOf(line[i]), u' ');
            text +=
                (m_headings[i].startsWith(ToTheRight) ? gap + line[i] : line[i] + gap) + u"  "_s;
        }
        while (text.endsWith(u' '))
            text.chop(1);
        std::puts(text.toUtf8().constData());
    }
    std::fflush(stdout);
}

} // namespace Tavrel
