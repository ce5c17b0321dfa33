#pragma once

#include "platform/basics/Failure.h"

#include <map>

namespace Tavrel
{

/// Controls under one name with an index. It does not own them.
template <typename Control> class ControlArray
{
public:
    void add(int index, Control *control) { m_controls[index] = control; }

    /// Failure 9 when there is no control of this index.
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
