#include "XvfbTestSupport.h"

#include "ui/LGuiApplication.h"

#include <QCoreApplication>
#include <QWidget>
#include <QWindow>

#include <gtest/gtest.h>

#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <memory>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

extern char** environ;

namespace XvfbTest {

namespace {

// The program's application on the xcb platform, for every test of this program.
class ApplicationEnvironment : public testing::Environment {
public:
    void SetUp() override
    {
        static char name[] = "ui_xvfb_tests";
        static char* argv[] = {name, nullptr};
        static int argc = 1;
        _application = std::make_unique<LGuiApplication>(argc, argv);
    }
    void TearDown() override { _application.reset(); }

private:
    std::unique_ptr<LGuiApplication> _application;
};

[[maybe_unused]] testing::Environment* const gEnvironment =
    testing::AddGlobalTestEnvironment(new ApplicationEnvironment);

constexpr auto kPollStep = std::chrono::milliseconds(2);

std::vector<char*> _Pointers(std::vector<std::string>& strings)
{
    std::vector<char*> pointers;
    for (auto& s : strings) {
        pointers.push_back(s.data());
    }
    pointers.push_back(nullptr);
    return pointers;
}

}  // namespace

bool WaitFor(const std::function<bool()>& done, unsigned int ms)
{
    const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(ms);
    while (!done()) {
        if (std::chrono::steady_clock::now() >= end) {
            return false;
        }
        QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
        std::this_thread::sleep_for(kPollStep);
    }
    return true;
}

bool WaitExposed(QWidget* widget)
{
    return WaitFor([widget] {
        QWindow* window = widget->window()->windowHandle();
        return widget->isVisible() && window && window->isExposed();
    });
}

int RunProgram(const std::vector<std::string>& argv, std::string* output)
{
    std::string command;
    for (const auto& arg : argv) {
        command += '\'';
        for (char c : arg) {
            command += c == '\'' ? std::string("'\\''") : std::string(1, c);
        }
        command += "' ";
    }
    FILE* pipe = popen(command.c_str(), "r");
    if (!pipe) {
        return -1;
    }
    char buffer[4096];
    size_t got;
    while ((got = fread(buffer, 1, sizeof buffer, pipe)) > 0) {
        if (output) {
            output->append(buffer, got);
        }
    }
    const int status = pclose(pipe);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

bool Xdotool(const std::vector<std::string>& arguments)
{
    std::vector<std::string> argv{"xdotool"};
    argv.insert(argv.end(), arguments.begin(), arguments.end());
    return RunProgram(argv) == 0;
}

bool MovePointer(QPoint screen)
{
    // xdotool's --sync waits for a motion, and none comes when the pointer is there already.
    if (PointerLocation() == screen) {
        return true;
    }
    return Xdotool({"mousemove", "--sync", std::to_string(screen.x()), std::to_string(screen.y())});
}

QPoint PointerLocation()
{
    std::string text;
    if (RunProgram({"xdotool", "getmouselocation", "--shell"}, &text) != 0) {
        return {-1, -1};
    }
    int x = -1, y = -1;
    std::sscanf(text.c_str(), "X=%d\nY=%d", &x, &y);
    return {x, y};
}

pid_t Spawn(const std::vector<std::string>& argv, const std::vector<std::string>& environment)
{
    std::vector<std::string> args = argv;
    std::vector<std::string> env;
    for (char** e = environ; *e; ++e) {
        env.emplace_back(*e);
    }
    for (const std::string& entry : environment) {
        const std::string prefix = entry.substr(0, entry.find('=')) + "=";
        std::erase_if(env, [&](const std::string& e) { return e.rfind(prefix, 0) == 0; });
        if (entry.find('=') != std::string::npos) {
            env.push_back(entry);
        }
    }
    auto argPointers = _Pointers(args);
    auto envPointers = _Pointers(env);
    const pid_t pid = fork();
    if (pid == 0) {
        execve(argPointers[0], argPointers.data(), envPointers.data());
        _exit(127);
    }
    return pid;
}

int WaitExit(pid_t pid, unsigned int ms)
{
    int status = 0;
    pid_t done = 0;
    WaitFor([&] { return (done = waitpid(pid, &status, WNOHANG)) != 0; }, ms);
    if (done != pid) {
        return -1;
    }
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

int Stop(pid_t pid)
{
    kill(pid, SIGTERM);
    const int status = WaitExit(pid);
    if (status < 0) {
        kill(pid, SIGKILL);
        waitpid(pid, nullptr, 0);
    }
    return status;
}

LGuiColorRef PixelAt(const QImage& image, QPoint point)
{
    const QRgb rgb = image.pixel(point);
    return LGuiColorRef::FromRGB(qRed(rgb), qGreen(rgb), qBlue(rgb));
}

std::string Describe(LGuiColorRef colour)
{
    return std::to_string(colour.Red8()) + "," + std::to_string(colour.Green8()) + "," +
           std::to_string(colour.Blue8());
}

}  // namespace XvfbTest
