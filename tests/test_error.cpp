// Statuses, reports and the stock handlers.
#include <gtest/gtest.h>

#include <climits>
#include <cstdlib>
#include <cstring>
#include <map>

#include "child.h"
#include "orv.h"
#include "reports.h"
#include "testheap.h"

#if defined(_WIN32)
#include <windows.h>

#include <thread>
#else
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#endif

namespace {

constexpr const char* unknown = "Unknown error or status code";

}  // namespace

// The texts at the ends of the table, and of those that two statuses share; around them and in the gaps there is none.
TEST(Error, TextsOfAllStatuses)
{
    const std::map<int, std::string> texts = {{0, "No Error"},
                                              {-1, "Backtrace"},
                                              {-3, "Internal error (bad state)"},
                                              {-9, "Null pointer to an image header"},
                                              {-16, "Number of channels for 1U depth image must be one"},
                                              {-25, "Incorrect size of ROI in the image header"},
                                              {-26, "Mask image is taled"},
                                              {-31, "Incorrect filter ofset value"}};
    for (auto [status, text] : texts)
        EXPECT_EQ(orvErrorStr(status), text);
    for (int status = -300; status <= 10; ++status) {
        bool ofMask = status <= -110 && status >= -125 && status != -116 && status != -122 && status != -123;
        bool known = (status <= 0 && status >= -31 && status != -2) || ofMask;
        EXPECT_EQ(orvErrorStr(status) != std::string(unknown), known) << status;
        EXPECT_TRUE(!ofMask || orvErrorStr(status) == std::string("Mask. ") + orvErrorStr(status + 100)) << status;
    }
    EXPECT_STREQ(orvErrorStr(INT_MIN), unknown);
    EXPECT_STREQ(orvErrorStr(INT_MAX), unknown);
    EXPECT_EQ(orvErrorStr(-10), orvErrorStr(-110) + 6);
}

namespace {

// What the handler was called with, and the status that was stored by then.
std::string seen;

int32_t ORV_CALL remember(int32_t status, const char* func, const char* context, const char* file, int32_t line)
{
    seen += std::to_string(status) + func + context + file + std::to_string(line) + " stored " +
            std::to_string(orvGetErrStatus()) + '\n';
    return 77;
}

}  // namespace

TEST(Error, StoresAndCallsTheHandler)
{
    OrvErrorCallBack before = orvRedirectError(remember);
    int32_t mode = orvGetErrMode();
    // The mode is the handlers' business alone.
    for (int32_t any : {int32_t{ORV_ErrModeLeaf}, int32_t{ORV_ErrorModeParent}, int32_t{ORV_ErrModeSilent}, -5, 1000}) {
        orvSetErrMode(any);
        EXPECT_EQ(orvGetErrMode(), any);
        orvSetErrStatus(-26);
        seen.clear();
        EXPECT_EQ(orvError(-5, "f", "c", "s", 12), 77);
        EXPECT_EQ(orvError(ORV_STATUS_BACKTRACE, "g", "c", "s", -1), 77);
        EXPECT_EQ(orvError(ORV_STATUS_AUTOTRACE, "h", "c", "s", -1), 77);
        EXPECT_EQ(orvError(1234, "i", "", "", 0), 77);
        EXPECT_EQ(orvError(0, "j", "c", "s", 1), 0);
        EXPECT_EQ(seen, "-5fcs12 stored -5\n-1gcs-1 stored -5\n-8hcs-1 stored -5\n1234i0 stored 1234\n");
        EXPECT_EQ(orvGetErrStatus(), 0);
    }
    orvSetErrMode(mode);
    EXPECT_EQ(orvRedirectError(nullptr), remember);
    EXPECT_EQ(orvRedirectError(before), orvGuiBoxReport);
}

TEST(Error, VersionAndCounter)
{
    const OrvLibVersion& version = *orvGetLibVersion();
    EXPECT_EQ(std::to_string(version.major) + version.name + version.version + version.internalVersion +
                  version.buildDate + version.linkage + std::to_string(version.minor) + std::to_string(version.build),
              "2orvz3.dll2.5 Release SP1[2.5.9.89, 03/05/2002]Mar  5 2002DLL59");
    uint64_t first = orvGetCadenceCounter();
    uint64_t second = first;
    for (int i = 0; i < 1000000 && second == first; ++i)
        second = orvGetCadenceCounter();
    EXPECT_GT(second, first);
}

// ---- The handlers without a box ----

namespace {

void sayThatHandlersRun()
{
    atexit([] { fputs("<exit handler>", stderr); });
}

void failUnder(OrvErrorCallBack handler)
{
    sayThatHandlersRun();
    orvRedirectError(handler);
    orvCheckImageHeader(nullptr);
    orvError(-9, "orvAdd", "Incorrect Image", "orvarith", 5);
    fputs("still here", stderr);
}

}  // namespace

CHILD(streamReports)
{
    for (int32_t mode : {int32_t{ORV_ErrorModeParent}, 3, int32_t{ORV_ErrModeSilent}}) {
        orvSetErrMode(mode);
        fprintf(stderr, "<%d>", int(mode));
        bool sameStatus = orvStdErrReport(-5, "orvAdd", "(a != b)", "orvarith", 17) == -5 &&
                          orvStdErrReport(-1, "orvSub", "nested", "orvarith", 18) == -1 &&
                          orvStdErrReport(-8, "main", "mine", "app", 19) == -8;
        orvStdErrReport(-110, nullptr, nullptr, nullptr, 0);
        orvStdErrReport(7, "f", "", nullptr, 3);
        orvStdErrReport(0, "f", "%s%n", "", -4);
        orvStdErrReport(-1, nullptr, nullptr, "file", 0);
        fputs(sameStatus ? "" : "wrong result", stderr);
    }
}

const ChildEntry leaves[] = {{"streamLeaf", [] { failUnder(orvStdErrReport); }},
                             {"silentLeaf", [] { failUnder(orvNulDevReport); }}};

TEST(Error, StreamReports)
{
    const std::string reports =
        "\nORV Library Error: Bad argument \n\tin function [orvarith:17]:orvAdd(): (a != b)\n"
        "\tcalled from [orvarith:18]:orvSub(): nested\n"
        "\tcalled from [app:19]:main(mine)\n"
        "\nORV Library Error: Mask. Incorrect image size \n\tin function:<unknown>\n"
        "\nORV Library Error: Unknown error or status code \n\tin function [(null):3]:f(): \n"
        "\nORV Library Error: No Error \n\tin function [:-4]:f(): %s%n\n"
        "\tcalled from [file:0]:<unknown>\n";
    ChildEnd end = runChild("streamReports");
    EXPECT_EQ(end.output, "<1>" + reports + "<3>" + reports + "<2>");
    EXPECT_EQ(end.exitCode, 0);
}

TEST(Error, LeafModeEndsTheProcess)
{
    ChildEnd end = runChild("streamLeaf");
    EXPECT_EQ(
        end.output,
        "\nORV Library Error: Null pointer to an image header \n\tin function [orvarith:5]:orvAdd(): Incorrect Image\n"
        "ORV Library Error\nErrMode=ORV_ErrModeLeaf\nterminating the application<exit handler>");
    EXPECT_EQ(end.exitCode, 1);
    end = runChild("silentLeaf");
    EXPECT_EQ(end.output, "<exit handler>");
    EXPECT_EQ(end.exitCode, 1);
}

TEST(Error, OtherModesReturnTheStatus)
{
    int32_t mode = orvGetErrMode();
    for (int32_t other : {int32_t{ORV_ErrModeSilent}, int32_t{ORV_ErrorModeParent}, 3, -1}) {
        orvSetErrMode(other);
        EXPECT_EQ(orvNulDevReport(-31, nullptr, nullptr, nullptr, -1), -31);
        // The box would ask.
        EXPECT_EQ(other == ORV_ErrorModeParent ? -31 : orvGuiBoxReport(-31, "f", "c", "s", 1), -31);
    }
    // Nor is there a box where its text finds no room.
    orvSetErrMode(ORV_ErrModeLeaf);
    testheap::refuse(1);
    EXPECT_EQ(orvGuiBoxReport(-31, "f", "c", "s", 1), -31);
    EXPECT_TRUE(testheap::refused());
    testheap::refuse(0);
    orvSetErrMode(mode);
}

// ---- The box ----

namespace {

const std::string title = "ORV 2.5 Release SP1";
const std::string leafText =
    "In function orvAdd(): [file orvarith, line 0]\n(a != b)\n\nBad argument\n(status: -5)"
    "\n\nErrMode=ORV_ErrorModeLeaf\n\nTerminate the application?";
const std::string parentText =
    "Called from <unknown>(): [file , line 9]\nnested\n\nBacktrace\n(status: -1)"
    "\n\nErrMode=ORV_ErrorModeParent\n\nContinue?";

void leafBox()
{
    sayThatHandlersRun();
    fprintf(stderr, "<result %d>", int(orvGuiBoxReport(-5, "orvAdd", "(a != b)", "orvarith", -3)));
}

void parentBox()
{
    sayThatHandlersRun();
    orvSetErrMode(ORV_ErrorModeParent);
    fprintf(stderr, "<result %d>", int(orvGuiBoxReport(-1, nullptr, "nested", nullptr, 9)));
}

void longBox()
{
    std::string longName(5000, 'f'), context(3000, 'c');
    orvGuiBoxReport(-5, longName.c_str(), context.c_str(), "s", 1);
}

}  // namespace

#if !defined(_WIN32)

// The box of a process in the background of the terminal, which is not to be stopped by it.
void backgroundBox()
{
    pid_t child = fork();
    if (child == 0) {
        setpgid(0, 0);
        leafBox();
        exit(0);
    }
    int status = 0;
    waitpid(child, &status, WUNTRACED);
    fputs(WIFSTOPPED(status) ? "<stopped>" : "<ended>", stderr);
    kill(child, SIGKILL);
}

const ChildEntry boxes[] = {
    {"leafBox", leafBox}, {"parentBox", parentBox}, {"longBox", longBox}, {"backgroundBox", backgroundBox}};

TEST(Error, BoxOnTheTerminal)
{
    const std::string leaf = "\n" + title + "\n\n" + leafText + "\n[Yes] [No] ";
    const std::string parent = "\n" + title + "\n\n" + parentText + "\n[OK] [Cancel] ";
    const std::string ending = "\nWin32: Application exit\n\nORV Library: terminating the application\n<exit handler>";
    struct {
        const char* child;
        const char* typed;
        std::string shown;
        int exitCode;
    } cases[] = {
        {"leafBox", "Yes\n", leaf + ending, 1},
        {"leafBox", "  y\n", leaf + ending, 1},
        {"leafBox", "NO\n", leaf + "<result -5><exit handler>", 0},
        {"leafBox", "maybe\n\nyess\nn\n", leaf + "[Yes] [No] [Yes] [No] [Yes] [No] <result -5><exit handler>", 0},
        // As many blanks as a line keeps, and more.
        {"leafBox", "               \n                              \nn\n",
         leaf + "[Yes] [No] [Yes] [No] <result -5><exit handler>", 0},
        {"leafBox", "\4", leaf + "<result -5><exit handler>", 0},
        {"parentBox", "ok\n", parent + "<result -1><exit handler>", 0},
        {"parentBox", "Cancel\n", parent + ending, 1},
        {"parentBox", "yes\nC\n", parent + "[OK] [Cancel] " + ending, 1},
        {"backgroundBox", "", title + "\n" + leafText + "\n<result -5><exit handler><ended>", 0},
    };
    for (const auto& [child, typed, shown, exitCode] : cases) {
        ChildEnd end = runChildOnTerminal(child, typed);
        EXPECT_EQ(end.output, shown) << child << ' ' << typed;
        EXPECT_EQ(end.exitCode, exitCode) << child << ' ' << typed;
    }
}

TEST(Error, BoxWithoutTerminalGoesToTheErrorStream)
{
    ChildEnd end = runChildWithoutTerminal("leafBox");
    EXPECT_EQ(end.output, title + "\n" + leafText + "\n<result -5><exit handler>");
    EXPECT_EQ(end.exitCode, 0);
    // The text's room is reckoned from the context; what else is long is cut.
    end = runChildWithoutTerminal("longBox");
    EXPECT_EQ(end.output,
              title + "\nIn function " + std::string(3000 + strlen("Bad argument") + 200 - 1 - 12, 'f') + "\n");
}

#else

namespace {

// What a box showed, read from outside while it stood.
std::string boxText;

// Waits for the box of the given title and presses one of its buttons.
void answer(const std::string& boxTitle, int button)
{
    HWND box = nullptr;
    for (int tries = 0; !box && tries < 3000; ++tries) {
        Sleep(20);
        box = FindWindowA("#32770", boxTitle.c_str());
    }
    if (!box)
        ExitProcess(99);
    boxText += '[' + boxTitle + ']';
    for (int id : {0xFFFF, IDOK, IDCANCEL, IDYES, IDNO}) {
        char text[2048];
        if (HWND item = GetDlgItem(box, id))
            boxText += std::string(text, size_t(GetWindowTextA(item, text, sizeof text))) + '|';
    }
    PostMessageA(box, WM_COMMAND, WPARAM(button), 0);
}

void showBox(void (*report)(), int button, bool ends)
{
    std::thread user([=] {
        answer(title, button);
        if (ends)
            answer("Win32: Application exit", IDOK);
        fprintf(stderr, "%s", boxText.c_str());
    });
    atexit([] { Sleep(300); });  // for the user's last words
    report();
    user.join();
}

}  // namespace

const ChildEntry boxes[] = {
    {"leafYes", [] { showBox(leafBox, IDYES, true); }},    {"leafNo", [] { showBox(leafBox, IDNO, false); }},
    {"parentOk", [] { showBox(parentBox, IDOK, false); }}, {"parentCancel", [] { showBox(parentBox, IDCANCEL, true); }},
    {"longBox", [] { showBox(longBox, IDNO, false); }},
};

TEST(Error, BoxOnTheScreen)
{
    const std::string leaf = '[' + title + ']' + leafText + "|&Yes|&No|";
    const std::string parent = '[' + title + ']' + parentText + "|OK|Cancel|";
    const std::string ending = "[Win32: Application exit]ORV Library: terminating the application|OK|";
    struct {
        const char* child;
        std::string shown;
        std::string said;
        int exitCode;
    } cases[] = {
        {"leafYes", leaf + ending, "<exit handler>", 1},
        {"leafNo", leaf, "<result -5><exit handler>", 0},
        {"parentOk", parent, "<result -1><exit handler>", 0},
        {"parentCancel", parent + ending, "<exit handler>", 1},
    };
    for (const auto& [child, shown, said, exitCode] : cases) {
        ChildEnd end = runChild(child);
        // The user and the process speak at once, but each line of theirs is one piece.
        size_t place = end.output.find(shown);
        ASSERT_NE(place, std::string::npos) << child << end.output;
        EXPECT_EQ(end.output.erase(place, shown.size()), said) << child;
        EXPECT_EQ(end.exitCode, exitCode) << child;
    }
    // The system formats no more than 1023 characters.
    ChildEnd end = runChild("longBox");
    EXPECT_EQ(end.output, '[' + title + "]In function " + std::string(1023 - 12, 'f') + "|&Yes|&No|");
}

#endif
