#include "tools/records/StoredTime.h"

#include <QDateTime>

namespace Tavrel
{

std::optional<qint64> wallTimeOf(QByteArrayView text)
{
    static constexpr QByteArrayView Form("0000-00-00 00:00:00");
    if (text.size() != Form.size() && text.size() != Form.size() - 3)
        return {};
    for (qsizetype i = 0; i < text.size(); ++i) {
        const bool matches = Form[i] == '0' ? text[i] >= '0' && text[i] <= '9'
                                            : text[i] == Form[i] || (i == 10 && text[i] == 'T');
        if (!matches)
            return {};
    }
    const auto number = [&](qsizetype at) { return (text[at] - '0') * 10 + text[at + 1] - '0'; };
    const QDate day(number(0) * 100 + number(2), number(5), number(8));
    const QTime time(number(11), number(14), text.size() == Form.size() ? number(17) : 0);
    if (!day.isValid() || !time.isValid())
        return {};
    return (day.toJulianDay() - QDate(1970, 1, 1).toJulianDay()) * SecondsPerDay +
           time.msecsSinceStartOfDay() / 1000;
}

} // namespace Tavrel
