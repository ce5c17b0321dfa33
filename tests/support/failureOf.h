#pragma once

#include "platform/basics/Failure.h"

using namespace Tavrel;

/// The number of the failure that `action` throws; 0 when it throws none.
template <typename Action> std::int32_t failureOf(const Action &action)
{
    try {
        action();
        return 0;
    } catch (const Failure &failure) {
        return failure.number;
    }
}
