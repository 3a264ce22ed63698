/* A C host: links the shared library (not the static one), relies on the load
 * notification having run initKestrel, and reaches the exported globals. */
#include <stdio.h>
#include <string.h>

#include "kestrel/kestrel.h"

static int failures = 0;
#define CHECK(cond)                                                 \
    do {                                                            \
        if (!(cond)) {                                              \
            printf("FAILED: %s (line %d)\n", #cond, __LINE__);      \
            ++failures;                                             \
        }                                                           \
    } while (0)

int main(void) {
    float len = 0;
    char text[16] = "  3.500 ";
    /* Start-up ran at load: system info, stock objects, default font. */
    CHECK(sysInfo.osVersion.dwOSVersionInfoSize == 148);
    CHECK(hBP != 0 && hBB != 0);
    CHECK(strcmp(mFS.face[0], "Arial") == 0 && mFS.weight == 3);
    CHECK(mCGS.mag == 1.0f && mCGS.clip == 1);
    CHECK(xmiss == -1.0e10f);
    CHECK(strcmp(szMonth[11], "Dec") == 0);
    CHECK(ExpValue[10] == 0.36788f);
    /* A few calls through the exported entry points. */
    CHECK(PixelLineWidth(6, &len) == 1 && len == 0.05f);
    CHECK(strcmp(Tstrip(text), "3.5") == 0);
    KBInitialize();
    CHECK(KBEmpty == 1 && KBlast == -1);
    if (failures == 0) printf("c_api_smoke: all checks passed\n");
    return failures == 0 ? 0 : 1;
}
