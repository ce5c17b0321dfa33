#pragma once

#include "tools/sitetool/JetText.h"
#include "tools/sitetool/NewDatabase.h"

#include <optional>

/// How the values of one type of column are stored in the old database and in the new one.
struct JetType {
    static constexpr int AnySize = -1;

    int number;         ///< as libmdb's MDB_TEXT
    int size;           ///< of a value, in bytes
    const char *stored; ///< the new column's type, whose affinity leaves each value as it is
};

/// Null when values of the type cannot be carried over.
const JetType *jetType(int number);

/// The value of a field of that type: its bytes, none when it is Null; a memo or an object is all
/// of it, not the reference to it that the row holds. A yes/no field has no bytes: it is yes unless
/// Null. Throws NotDone when the value cannot be carried over as it is.
Value jetValue(const JetType &type, const JetText &text, const std::optional<QByteArray> &field);
