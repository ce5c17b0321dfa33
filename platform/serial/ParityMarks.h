#pragma once

#include <QByteArray>

namespace Tavrel
{

/// Decodes the marks that the kernel puts around bytes received in error (termios PARMRK): FF 00 X
/// is a byte X in error, FF FF a good byte FF. A mark may be split anywhere between two calls; its
/// beginning is kept until the rest arrives. Breaks never arrive here: TermiosComm has the kernel
/// ignore them (IGNBRK), so they leave no byte and no mark.
class ParityMarks
{
public:
    /// Returns the bytes that `raw` completes, those in error replaced by MSComm::ParityReplace.
    QByteArray decode(const QByteArray &raw);

private:
    enum class State { Plain, Marked, InError };
    State m_state = State::Plain;
};

} // namespace Tavrel
