#pragma once

#include "platform/windows/CommandButton.h"
#include "platform/windows/ControlArray.h"
#include "platform/windows/Image.h"
#include "platform/windows/OptionButton.h"
#include "platform/windows/TextBox.h"

#include <QWidget>

#include <cstdint>

namespace Tavrel
{

/// What stands on the clock window: eight picture boxes with the digits and colons of a large
/// clock, two toggle buttons that say what the next swipe will be, a date line and two command
/// buttons. At first the clock reads 99:99:99 and "Clock In" is selected.
///
/// Image k * 10 + d shows digit d at clock position k, counted from the left; all ten images of a
/// position lie on the same spot, and the one in front is seen. Images 60 and 100 are the colons.
class ClockFace
{
public:
    /// The size of the window's client area, in twips.
    static constexpr int ClientWidth = 9225;
    static constexpr int ClientHeight = 3420;

    /// Puts all controls on `window`, which owns them.
    explicit ClockFace(QWidget &window);

    /// Lets a screen reader read out the six digits "hhmmss" as the time. Costs next to nothing
    /// when they are the same as before.
    void readOut(const QString &digits);

    ControlArray<QWidget> pic; ///< the leftmost one has the time as its accessible name
    ControlArray<Image> img;
    ControlArray<OptionButton> optEvent; ///< 0 is "Clock In", 1 is "Clock Out"
    TextBox *txtDate = nullptr;
    ControlArray<QPushButton> cmdCtrl; ///< 0 is "&Options...", 1 is "&Exit"

private:
    void addPictures(QWidget &window);
    void addOptions(QWidget &window);
    void addDateAndButtons(QWidget &window);

    /// Runs when a button of the pair becomes selected, and styles both.
    void optEvent_Click(std::int16_t Index);

    QString m_readOut;
};

} // namespace Tavrel
