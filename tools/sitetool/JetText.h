#pragma once

#include <QByteArrayView>
#include <QString>

#include <iconv.h>

/// The texts of one old database, from their stored bytes.
class JetText
{
public:
    /// The code page of a Jet 3 file, as in 1252, or 0 for the UTF-16 of all later ones. Throws
    /// NotDone when the code page is not known here.
    explicit JetText(int codePage);
    ~JetText();
    JetText(const JetText &) = delete;
    JetText &operator=(const JetText &) = delete;

    /// Throws NotDone for bytes that are no text.
    QString decode(QByteArrayView bytes) const;

private:
    QString fromCodePage(QByteArrayView bytes) const;

    iconv_t m_codePage = nullptr; // null for UTF-16
};
