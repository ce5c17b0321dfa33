#pragma once

#include <QString>

namespace Tavrel
{

/// What a check has found, a line a finding on the standard output, as it is found.
class Findings
{
public:
    enum Weight {
        Good,    ///< as it should be
        Notable, ///< worth a look, but a swipe is stored all the same
        Unclear, ///< whether a swipe would be stored cannot be seen from outside
        Wrong,   ///< a swipe would be stored as another punch than it is
        Stopping ///< a swipe would not be stored
    };

    /// Says `finding`, whole sentences, which may hold anything that was found in a file.
    void say(Weight weight, const QString &finding);

    /// Says what it all comes to and returns the status of the program: 0 exactly when everything
    /// found is Good or Notable.
    int conclude() const;

private:
    Weight m_worst = Good;
};

} // namespace Tavrel
