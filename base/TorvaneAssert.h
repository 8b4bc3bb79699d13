// Internal assertions and the checked down-cast.
//
// A failed assertion is reported (an error record on the given logger and a
// line on the error stream, see KtErrorStream) and counted; it never aborts
// the process: the caller goes on with its documented fallback (for example a
// nil handle).
#ifndef KTSIP_TORVANE_ASSERT_H
#define KTSIP_TORVANE_ASSERT_H

#include "TorvaneLogger.h"

class KtObject;

namespace Torvane {

/// Reports a failed internal assertion; does nothing when `condition` holds.
/// The report names the expression text and the source file and line.
void Assertion(bool condition, const char* expression, const Logger& logger, const char* file, int line);

/// Number of failed assertions since the process started (for tests and tools).
unsigned long assertionFailures();

/// Reporting halves of the checked down-cast.
void typeIdError(const char* expression, const Logger& logger, const char* file, int line);
void nullBaseError(const char* expression, const Logger& logger, const char* file, int line);

/// Checked down-cast of `p` to T: returns nullptr and reports through nullBaseError
/// (for a null pointer) or typeIdError (for an object of another class).
template <class T, class B>
T* DynCastAssertNoT(B* p, const char* expression, const Logger& logger, const char* file, int line) {
    if (p == nullptr) {
        nullBaseError(expression, logger, file, line);
        return nullptr;
    }
    T* result = dynamic_cast<T*>(p);
    if (result == nullptr) typeIdError(expression, logger, file, line);
    return result;
}

}  // namespace Torvane

/// Asserts COND; reported on the file's logger (see TORVANE_FILE_LOGGER).
#define TORVANE_ASSERT(COND) Torvane::Assertion(static_cast<bool>(COND), #COND, fileLogger(), __FILE__, __LINE__)

/// Checked down-cast of PTR to TYPE*, nullptr (and a report) when it fails.
#define TORVANE_DYNCAST_ASSERT(TYPE, PTR) \
    Torvane::DynCastAssertNoT<TYPE>((PTR), "TORVANE_DYNCAST_ASSERT(" #TYPE ", " #PTR ")", fileLogger(), __FILE__, __LINE__)

#endif
