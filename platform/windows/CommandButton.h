#pragma once

#include <QPushButton>

namespace Tavrel
{

/// A command button of the platform's look that shows its focus also where the platform's own mark
/// of it, a line round the button, is lost on a dark window.
class CommandButton : public QPushButton
{
public:
    using QPushButton::QPushButton;

protected:
    void paintEvent(QPaintEvent *event) override;
};

} // namespace Tavrel
