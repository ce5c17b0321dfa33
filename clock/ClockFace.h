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

/// The contents of the clock window: eight picture boxes with the digits and colons of a large
/// clock, two toggle buttons for the type of the next punch, a date line and two command buttons.
/// At first the clock reads 99:99:99 and "Clock In" is selected.
///
/// Image k * 10 + d shows digit d at clock position k, counted from 0 at the left; the ten images
/// of a position cover each other, and the front one is visible. Images 60 and 100 are the colons.
class ClockFace
{
public:
    /// The size of the window's client area, in twips.
    static constexpr int ClientWidth = 9225;
    static constexpr int ClientHeight = 3420;

    /// Creates all controls on `window`, which owns them.
    explicit ClockFace(QWidget &window);

    /// Gives screen readers the six digits "hhmmss" as the time. Cheap if they are unchanged.
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

    /// Runs when one of the two buttons becomes selected, and restyles both.
    void optEvent_Click(std::int16_t Index);

    QString m_readOut;
};

} // namespace Tavrel
