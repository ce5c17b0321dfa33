#pragma once

#include "fuzz/Input.h"

/// A copy of `file`, damaged as the input says until it is used up: a few bytes of a page are
/// replaced, or the file is cut off there.
inline QByteArray damaged(QByteArray file, qsizetype pageSize, Input &input)
{
    constexpr int MostBytes = 8;
    while (!input.isEmpty() && file.size() >= pageSize) {
        const qsizetype page = input.byte() % (file.size() / pageSize);
        const qsizetype at = page * pageSize + input.word() % pageSize;
        const int count = input.byte() % (MostBytes + 1);
        const QByteArray bytes = input.bytes(std::min<qsizetype>(count, file.size() - at));
        if (count == 0)
            file.truncate(at);
        else
            file.replace(at, bytes.size(), bytes);
    }
    return file;
}
