#include "frame/message.h"

#include <cstdio>
#include <string>

#include "kestrel/globals.h"
#include "kestrel/util.h"
#include "platform/platform.h"

int kestrel::showMessage(const char *text, const char *caption, unsigned type) {
    const int answer = plat::messageBox(hWnd, text, caption, type);
    if (answer != 0) return answer;
    const int taken = (type & 0xF) == plat::MbYesNo ? plat::IdYes : plat::IdOk;
    if (szErrorLogFile[0]) {
        std::string line = "MESSAGE (";
        line += caption ? caption : "";
        line += taken == plat::IdYes ? ", answered Yes): " : "): ";
        line += text ? text : "";
        for (char &c : line)
            if (c == '\n' || c == '\r') c = ' ';
        AppendRecord(szErrorLogFile, line.c_str());
    }
    return taken;
}

void kestrel::reportOutOfMemory(const char *routine) {
    char caption[160];
    std::snprintf(caption, sizeof caption, "%s ...", routine ? routine : "");
    showMessage("Out of memory: the call did nothing.", caption, plat::MbOk | plat::MbIconExclamation | plat::MbTaskModal);
}
