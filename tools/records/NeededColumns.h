#pragma once

namespace Tavrel
{

enum class Kind { Whole, Moment, Text, Badge };

/// A column that the clock needs.
struct NeededColumn {
    const char *table;
    const char *column;
    Kind kind;
};
inline constexpr NeededColumn NeededColumns[] = {
    {"RawData", "ID", Kind::Whole},
    {"RawData", "RecordCount", Kind::Whole},
    {"RawData", "DateTime", Kind::Moment},
    {"RawData", "DownloadResult", Kind::Text},
    {"RawDataDetails", "ID", Kind::Whole},
    {"RawDataDetails", "PersonalID", Kind::Badge},
    {"RawDataDetails", "EventStatus", Kind::Whole},
    {"RawDataDetails", "DateTime", Kind::Moment},
    {"RawDataDetails", "Shift", Kind::Whole},
    {"RawDataDetails", "MachineNo", Kind::Whole},
    {"Employee", "PersonalID", Kind::Badge},
    {"Employee", "Name", Kind::Text},
};

} // namespace Tavrel
