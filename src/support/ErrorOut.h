#pragma once

#include "support/RunError.h"

// How an operation that can fail fills its `RunError *error` out-parameter (which may be
// nullptr): `return ErrorOut::set(error, ErrorOut::told(...));`.
namespace ErrorOut {

// Puts `what` in `*error` when one is given; returns false.
inline bool set(RunError *error, const RunError &what)
{
    if (error)
        *error = what;
    return false;
}

// An error told in the program's own words: `description` is the whole text the operator
// reads, with no standard wording added.
inline RunError told(RunError::Number number, const QString &description)
{
    RunError e;
    e.number = number;
    e.description = description;
    return e;
}

// The error of a lower operation passed up as the operator reads it: its number stays, and its
// description is the lower error's whole text ("<number>, <description>").
inline RunError passedUp(const RunError &lower)
{
    RunError e;
    e.number = lower.number;
    e.description = lower.text();
    return e;
}

} // namespace ErrorOut
