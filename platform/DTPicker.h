#pragma once

#include <QTimeEdit>

/// A picker of a time of day, in the user's long format: an edit field with spin buttons.
class DTPicker : public QTimeEdit
{
public:
    /// The dates that a value may come with; they are not shown and not kept.
    static constexpr QDate MinDate = QDate::fromJulianDay(2305814); ///< 1 January 1601
    static constexpr QDate MaxDate = QDate::fromJulianDay(5373484); ///< 31 December 9999

    explicit DTPicker(QWidget *parent);

    QTime Value() const { return time(); }

    /// Takes a text that tells a time of day. Failure 13, with the old value kept, when it tells
    /// none, or has a date out of range with it.
    void Value(const QString &text);
};
