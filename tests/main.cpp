// Runs all tests at one instruction-set level: --level=base, v3 or v4.
#include <gtest/gtest.h>

#include <cstring>

#include "child.h"
#include "core/ownisa.h"
#include "orv.h"

int main(int argc, char** argv)
{
    serveAsChild(argc, argv);
    testing::InitGoogleTest(&argc, argv);
    for (int i = 1; i < argc; ++i) {
        if (strncmp(argv[i], "--level=", 8) != 0) {
            fprintf(stderr, "unknown argument %s\n", argv[i]);
            return 2;
        }
        if (!ownForceLevel(argv[i] + 8)) {
            printf("this processor does not have the level\n");
            return 77;
        }
    }
    orvSetErrMode(ORV_ErrModeSilent);
    return RUN_ALL_TESTS();
}
