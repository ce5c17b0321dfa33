#pragma once

#include <QByteArray>
#include <QLocale>
#include <QString>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <iostream>

/// The source of the values of a fuzz target: bytes taken from the front, and zeros once they are
/// used up, so that every input is valid.
class Input
{
public:
    Input(const std::uint8_t *data, std::size_t size)
        : m_bytes(reinterpret_cast<const char *>(data), static_cast<qsizetype>(size))
    {
    }

    bool isEmpty() const { return m_bytes.isEmpty(); }

    /// 0 to 255.
    int byte()
    {
        const QByteArray taken = bytes(1);
        return taken.isEmpty() ? 0 : static_cast<std::uint8_t>(taken[0]);
    }

    /// 0 to 65535.
    int word()
    {
        const int high = byte(); // | does not specify which operand comes first
        return high << 8 | byte();
    }

    std::uint64_t number()
    {
        std::uint64_t bits = 0;
        for (std::size_t i = 0; i < sizeof bits; ++i)
            bits = bits << 8 | static_cast<std::uint64_t>(byte());
        return bits;
    }

    /// At most `count` bytes.
    QByteArray bytes(qsizetype count)
    {
        QByteArray taken = m_bytes.first(std::min(count, m_bytes.size()));
        m_bytes.remove(0, taken.size());
        return taken;
    }

    QByteArray rest() { return bytes(m_bytes.size()); }

    /// The rest as text: from UTF-8, or from UTF-16 that may be invalid.
    QString text()
    {
        if (byte() % 2 == 0)
            return QString::fromUtf8(rest());
        QString text;
        while (!isEmpty())
            text += QChar(static_cast<char16_t>(word()));
        return text;
    }

    /// Any of Qt's regional formats.
    QLocale locale()
    {
        static const auto all =
            QLocale::matchingLocales(QLocale::AnyLanguage, QLocale::AnyScript, QLocale::AnyCountry);
        return all[word() % all.size()];
    }

private:
    QByteArray m_bytes;
};

/// Aborts the run if a promise of the code under test does not hold.
inline void require(bool holds, const char *promise)
{
    if (holds)
        return;
    std::cerr << "Broken: " << promise << '\n';
    std::abort();
}
