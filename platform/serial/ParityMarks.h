#pragma once

#include <QByteArray>

namespace Tavrel
{

/// Decodes the marks that the system puts round bytes received in error (termios PARMRK): FF 00 X
/// stands for a byte X in error, FF FF for a good byte FF. A mark may be cut anywhere between two
/// calls; what is begun is kept until its end comes. (A break has no mark: the line ignores it.)
class ParityMarks
{
public:
    /// The bytes that `raw` ends, each one in error replaced by MSComm::ParityReplace.
    QByteArray decode(const QByteArray &raw);

private:
    enum class State { Plain, Marked, InError };
    State m_state = State::Plain;
};

} // namespace Tavrel
