// The host's time stamp, with the month names of the shared table the
// error log uses too.
#include <cstdio>

#include "base/guard.h"
#include "kestrel/globals.h"
#include "kestrel/host.h"
#include "platform/platform.h"

extern "C" KESTREL_API int32_t KESTREL_CALL GetDateTime(char *out) {
    return kestrel::guarded<int32_t>("GetDateTime", [&]() -> int32_t {
        if (!out) return 0;
        kestrel::plat::LocalTime t{};
        kestrel::plat::localTime(&t);
        const int m = t.month >= 1 && t.month <= 12 ? t.month : 1;
        return std::snprintf(out, 32, "%s/%02d/%4d  %02d:%02d:%02d", szMonth[m], t.day, t.year, t.hour, t.minute,
                             t.second);
    });
}
