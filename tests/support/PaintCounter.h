#pragma once

#include <QEvent>
#include <QObject>

/// Counts how often the controls are painted on which it is installed as an event filter.
class PaintCounter : public QObject
{
public:
    bool eventFilter(QObject *, QEvent *event) override
    {
        count += event->type() == QEvent::Paint;
        return false;
    }

    int count = 0;
};
