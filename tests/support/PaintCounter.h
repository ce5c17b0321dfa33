#pragma once

#include <QEvent>
#include <QObject>

/// An event filter that counts how often the controls on which it is installed are painted.
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
