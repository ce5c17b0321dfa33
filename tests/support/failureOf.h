#pragma once

#include "platform/basics/Failure.h"

using namespace Tavrel;

/// Returns the number of the Failure that `action` throws; 0 if it throws none.
template <typename Action> std::int32_t failureOf(const Action &action)
{
    try {
        action();
        return 0;
    } catch (const Failure &failure) {
        return failure.number;
    }
}
