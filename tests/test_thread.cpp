// What the library keeps for each thread. How that lives through loading and unloading is tested in shared/.
#include <gtest/gtest.h>

#include <csignal>
#include <thread>

#include "child.h"
#include "orv.h"
#include "reports.h"
#include "testheap.h"

namespace {

int32_t ORV_CALL handler(int32_t status, const char*, const char*, const char*, int32_t)
{
    return status + 1000;
}

}  // namespace

TEST(Thread, InheritsNothing)
{
    Reports reports;
    int32_t mode = orvGetErrMode();
    orvSetErrMode(3);
    orvSetErrStatus(-5);
    std::thread([] {
        EXPECT_EQ(orvGetErrStatus(), 0);
        EXPECT_EQ(orvGetErrMode(), ORV_ErrModeLeaf);
        EXPECT_EQ(orvRedirectError(handler), orvGuiBoxReport);
        orvSetErrMode(ORV_ErrorModeParent);
        EXPECT_EQ(orvError(-7, "", "", "", 0), 993);
    }).join();
    EXPECT_EQ(orvGetErrMode(), 3);
    EXPECT_EQ(orvGetErrStatus(), -5);
    EXPECT_EQ(reports.take(), "");
    orvSetErrMode(mode);
}

TEST(Thread, StatusesOfManyAtOnceStayApart)
{
    std::vector<std::thread> threads;
    for (int number = 1; number <= 8; ++number)
        threads.emplace_back([number] {
            orvRedirectError(handler);
            for (int i = 0; i < 2000; ++i) {
                int32_t status = -1000 * number - i;
                ASSERT_EQ(orvError(status, "", "", "", 0), status + 1000);
                OrvROI* roi = orvCreateROI(0, 0, 0, 1, 1);
                std::this_thread::yield();
                ASSERT_EQ(orvGetErrStatus(), status);
                orvDeleteROI(roi);
            }
        });
    for (std::thread& thread : threads)
        thread.join();
}

// The system tells a program of a thread's end only through a library that it has loaded.
#if !defined(_WIN32)

CHILD(noRecord)
{
    testheap::refuse(1, true);
    std::thread([] { orvGetErrStatus(); }).join();
}

TEST(Thread, EndsTheApplicationWithoutARecord)
{
    ChildEnd end = runChild("noRecord");
    EXPECT_EQ(end.exitCode, 128 + SIGABRT);
    // The shell that ran it may add its own words.
    EXPECT_EQ(end.output.find("ORVlib. Problem to allocate memory for TLS ORV context.\n"), 0u) << end.output;
}

#endif
