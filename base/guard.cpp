#include "base/guard.h"

namespace kestrel {

FailureReporter gFailureReporter = nullptr;

void reportFailure(const char *routine) noexcept {
    if (!gFailureReporter) return;
    try {
        gFailureReporter(routine);
    } catch (...) {
        // Nothing more can be said when even the report fails.
    }
}

}  // namespace kestrel
