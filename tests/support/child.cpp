#include "child.h"

#include <cstdio>
#include <cstdlib>
#include <map>

#if defined(_WIN32)
#include <io.h>
#include <windows.h>
#else
#include <pty.h>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>
#endif

namespace {

std::map<std::string, ChildEntry::Body>& bodies()
{
    static std::map<std::string, ChildEntry::Body> all;
    return all;
}

std::string program;

const std::string option = "--child=";

std::string readAll(int file)
{
    std::string text;
    char part[256];
    long got;
    // A terminal whose other side is closed ends in an error.
    while ((got = long(read(file, part, sizeof part))) > 0)
        text.append(part, size_t(got));
    return text;
}

#if !defined(_WIN32)
int exitCode(int status)
{
    return WIFSIGNALED(status) ? 128 + WTERMSIG(status) : WEXITSTATUS(status);
}

[[noreturn]] void becomeChild(const std::string& name)
{
    execl(program.c_str(), program.c_str(), (option + name).c_str(), static_cast<char*>(nullptr));
    _exit(127);
}

const char endOfOutput = 0;

// The first process of a terminal's session: with it the terminal ends, and what nobody has read yet is lost. So it has
// the child run by another, tells of its end behind the output, and stays until the terminal is closed.
[[noreturn]] void leadSession(const std::string& name)
{
    pid_t child = fork();
    if (child == 0)
        becomeChild(name);
    int status = 0;
    waitpid(child, &status, 0);
    const char end[] = {endOfOutput, char(exitCode(status))};
    if (write(STDOUT_FILENO, end, sizeof end) == sizeof end)
        pause();
    _exit(0);
}
#endif

}  // namespace

ChildEntry::ChildEntry(const char* name, Body body)
{
    bodies()[name] = body;
}

void serveAsChild(int argc, char** argv)
{
    program = argv[0];
    if (argc < 2 || std::string(argv[1]).rfind(option, 0) != 0)
        return;
    bodies().at(argv[1] + option.size())();
    exit(0);
}

#if defined(_WIN32)

ChildEnd runChild(const std::string& name)
{
    // A file, since the system's desktop, which starts with the first box, would hold a pipe's end open.
    std::string file = std::string(getenv("TEMP")) + "\\orvz3-" + std::to_string(GetCurrentProcessId()) + name;
    // The shell takes off the outermost quotes.
    std::string command = "\"\"" + program + "\" " + option + name + " > \"" + file + "\" 2>&1\"";
    fflush(nullptr);
    int status = system(command.c_str());
    FILE* stream = fopen(file.c_str(), "r");
    ChildEnd end = {status, stream ? readAll(fileno(stream)) : "no output"};
    if (stream)
        fclose(stream);
    remove(file.c_str());
    return end;
}

#else

ChildEnd runChild(const std::string& name)
{
    std::string command = '"' + program + "\" " + option + name + " 2>&1";
    fflush(nullptr);
    FILE* pipe = popen(command.c_str(), "r");
    std::string output = readAll(fileno(pipe));
    return {exitCode(pclose(pipe)), output};
}

ChildEnd runChildOnTerminal(const std::string& name, const std::string& typed)
{
    // Lines of input that are not shown again, and output as it is written.
    termios settings = {};
    settings.c_lflag = ICANON;
    settings.c_cflag = CREAD | CS8 | B38400;
    settings.c_cc[VEOF] = 4;
    int terminal = -1;
    pid_t leader = forkpty(&terminal, nullptr, &settings, nullptr);
    if (leader == 0)
        leadSession(name);
    if (write(terminal, typed.data(), typed.size()) != ssize_t(typed.size()))
        return {-1, "the terminal takes no input"};
    std::string output;
    char character;
    while (read(terminal, &character, 1) == 1 && character != endOfOutput)
        output += character;
    char code = -1;
    if (read(terminal, &code, 1) != 1)
        output += "<no end>";
    close(terminal);
    waitpid(leader, nullptr, 0);
    return {code, output};
}

ChildEnd runChildWithoutTerminal(const std::string& name)
{
    int ends[2];
    if (pipe(ends) != 0)
        return {-1, "no pipe"};
    pid_t child = fork();
    if (child == 0) {
        setsid();
        dup2(ends[1], STDOUT_FILENO);
        dup2(ends[1], STDERR_FILENO);
        close(ends[0]);
        close(ends[1]);
        becomeChild(name);
    }
    close(ends[1]);
    std::string output = readAll(ends[0]);
    close(ends[0]);
    int status = 0;
    waitpid(child, &status, 0);
    return {exitCode(status), output};
}

#endif
