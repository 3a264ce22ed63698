// The error log.
#include <cstdio>
#include <string>

#include "base/guard.h"
#include "frame/message.h"
#include "kestrel/frame.h"
#include "kestrel/util.h"
#include "platform/platform.h"

extern "C" KESTREL_API int32_t KESTREL_CALL LogLastError(const char *text, int32_t show) {
    return kestrel::guarded<int32_t>("LogLastError", [&]() -> int32_t {
        using namespace kestrel;
        if (szErrorLogFile[0] == '\0') return 0;  // no log, and deliberately no box either
        plat::LocalTime t{};
        plat::localTime(&t);
        const std::string message = plat::lastErrorMessage();

        // The log line holds the message without carriage returns and line ends.
        char clean[512];
        std::snprintf(clean, sizeof clean, "%s", message.c_str());
        ReplaceInString(clean, "\r", "", 500);
        rmNL(clean);

        const int month = (t.month >= 1 && t.month <= 12) ? t.month - 1 : 12;  // 12 = "inv"
        char line[1024];
        std::snprintf(line, sizeof line, "%s/%02d/%4d %02d:%02d:%02d> %s: %s", szMonth[month], t.day, t.year, t.hour,
                      t.minute, t.second, text ? text : "", clean);
        AppendRecord(szErrorLogFile, line);
        if (show) kestrel::showMessage(message.c_str(), text, plat::MbOk | plat::MbIconExclamation | plat::MbTaskModal);
        return 0;
    });
}
