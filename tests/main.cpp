// Runs all tests at one instruction-set level: --level=base or --level=v3.
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
        bool v3 = strcmp(argv[i], "--level=v3") == 0;
        if (!v3 && strcmp(argv[i], "--level=base") != 0) {
            fprintf(stderr, "unknown argument %s\n", argv[i]);
            return 2;
        }
        if (!ownForceLevel(v3 ? OwnLevel::v3 : OwnLevel::base)) {
            printf("this processor does not have the level\n");
            return 77;
        }
    }
    orvSetErrMode(ORV_ErrModeSilent);
    return RUN_ALL_TESTS();
}
