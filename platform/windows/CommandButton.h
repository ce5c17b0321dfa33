#pragma once

#include <QPushButton>

namespace Tavrel
{

/// A command button in the platform's style that shows its focus even on a dark window, where the
/// platform's own focus line around the button is invisible.
class CommandButton : public QPushButton
{
public:
    using QPushButton::QPushButton;

protected:
    void paintEvent(QPaintEvent *event) override;
};

} // namespace Tavrel
