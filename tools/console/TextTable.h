#pragma once

#include <QStringList>

#include <vector>

namespace Tavrel
{

/// Rows of text under headings, printed for people or for a spreadsheet.
class TextTable
{
public:
    enum Format { Aligned, Csv };

    /// A heading that begins with ">" is that of a column of numbers, aligned to the right; the
    /// character itself is not printed.
    explicit TextTable(QStringList headings) : m_headings(std::move(headings)) {}

    /// Adds a row with as many cells as there are headings.
    void add(const QStringList &cells) { m_rows.push_back(cells); }

    /// Prints the table to standard output: aligned and made visible (see Console::visible), or as
    /// CSV (RFC 4180, in UTF-8). In CSV a cell that a spreadsheet would calculate is preceded by an
    /// apostrophe; the lines are made visible only on a terminal.
    void print(Format format) const;

private:
    QStringList m_headings;
    std::vector<QStringList> m_rows;
};

} // namespace Tavrel
