#pragma once

#include "platform/basics/Failure.h"

#include <map>

namespace Tavrel
{

/// Controls that share a name and have an index each. Does not own them.
template <typename Control> class ControlArray
{
public:
    void add(int index, Control *control) { m_controls[index] = control; }

    /// Throws Failure::SubscriptOutOfRange if there is no control with this index.
    Control *operator()(int index) const
    {
        const auto found = m_controls.find(index);
        if (found == m_controls.end())
            throw Failure(Failure::SubscriptOutOfRange);
        return found->second;
    }

private:
    std::map<int, Control *> m_controls;
};

} // namespace Tavrel
