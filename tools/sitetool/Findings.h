#pragma once

#include <QString>

namespace Tavrel
{

/// Prints what a check finds to standard output, one line for each finding, at once.
class Findings
{
public:
    enum Weight {
        Good,    ///< correct
        Notable, ///< worth checking, but a swipe is stored all the same
        Unclear, ///< it is unknown whether a swipe would be stored
        Wrong,   ///< a swipe would be stored as a different punch
        Stopping ///< a swipe would not be stored
    };

    /// Prints `finding`, complete sentences, which may contain any characters found in a file.
    void say(Weight weight, const QString &finding);

    /// Prints the conclusion and returns the exit status: 0 if all findings are Good or Notable.
    int conclude() const;

private:
    Weight m_worst = Good;
};

} // namespace Tavrel
