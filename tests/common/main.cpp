#include <gtest/gtest.h>

#include "kestrel/frame.h"

int main(int argc, char **argv) {
    // The tests link the library statically, so no load notification runs it.
    initKestrel();
    ::testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
