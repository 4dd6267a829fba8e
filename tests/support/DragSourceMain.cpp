// orvane-test-dragsource: a file manager stand-in for the real-window tests.
//
//   orvane-test-dragsource [--log FILE] [--at X,Y] PATH...
//     A small window; a mouse press on it starts a drag of the paths as text/uri-list
//     (file:// URLs, every byte outside the unreserved set percent-encoded, so names that are
//     not UTF-8 or hold newlines travel unchanged). The log gets "ready", "drag start" and
//     "drag end N" (N the Qt::DropAction the target took: 0 refused, 1 copied).
//   orvane-test-dragsource --receive [--log FILE] [--at X,Y]
//     A window that accepts text/uri-list drops; the log gets "drop", the list's bytes as they
//     came, and "end-of-drop".
//
// Log lines are appended and flushed one at a time, so a test can wait on the file.
#include <QApplication>
#include <QByteArray>
#include <QDrag>
#include <QDragEnterEvent>
#include <QDropEvent>
#include <QMimeData>
#include <QMouseEvent>
#include <QWidget>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

namespace {

constexpr char kUriListType[] = "text/uri-list";
constexpr int kWindowWidth = 160;   // pixels
constexpr int kWindowHeight = 120;  // pixels

struct Options {
    std::string log;
    bool receive = false;
    bool placed = false;
    int x = 0, y = 0;
    std::vector<std::string> paths;
};

class Log {
public:
    explicit Log(const std::string& path) : _path(path) {}
    void Line(const std::string& text) const { Write(text + "\n"); }
    void Write(const std::string& bytes) const
    {
        if (_path.empty()) {
            return;
        }
        if (FILE* file = std::fopen(_path.c_str(), "ab")) {
            std::fwrite(bytes.data(), 1, bytes.size(), file);
            std::fclose(file);
        }
    }

private:
    std::string _path;
};

bool _IsUnreserved(unsigned char c)
{
    return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '-' ||
           c == '.' || c == '_' || c == '~' || c == '/';
}

// One file:// URL of a local path, byte for byte.
std::string _FileUrl(const std::string& path)
{
    static const char kHex[] = "0123456789ABCDEF";
    std::string url = "file://";
    for (const unsigned char c : path) {
        if (_IsUnreserved(c)) {
            url += static_cast<char>(c);
        } else {
            url += '%';
            url += kHex[c >> 4];
            url += kHex[c & 0xF];
        }
    }
    return url;
}

// The paths as a text/uri-list: one URL a line, each line ended by CR LF.
QByteArray _UriList(const std::vector<std::string>& paths)
{
    std::string list;
    for (const std::string& path : paths) {
        // Made absolute without following links: a broken link is dragged as it is.
        list += _FileUrl(std::filesystem::absolute(path).lexically_normal().string()) + "\r\n";
    }
    return QByteArray(list.data(), static_cast<qsizetype>(list.size()));
}

class SourceWindow : public QWidget {
public:
    SourceWindow(const Log& log, QByteArray uriList) : _log(log), _uriList(std::move(uriList)) {}

protected:
    void mousePressEvent(QMouseEvent* event) override
    {
        if (event->button() != Qt::LeftButton) {
            return;
        }
        auto* data = new QMimeData;
        data->setData(kUriListType, _uriList);
        auto* drag = new QDrag(this);  // the window owns it
        drag->setMimeData(data);
        _log.Line("drag start");
        const Qt::DropAction action = drag->exec(Qt::CopyAction | Qt::LinkAction, Qt::CopyAction);
        _log.Line("drag end " + std::to_string(static_cast<int>(action)));
    }

private:
    const Log& _log;
    QByteArray _uriList;
};

class TargetWindow : public QWidget {
public:
    explicit TargetWindow(const Log& log) : _log(log) { setAcceptDrops(true); }

protected:
    void dragEnterEvent(QDragEnterEvent* event) override
    {
        if (event->mimeData()->hasFormat(kUriListType)) {
            event->acceptProposedAction();
        }
    }
    void dragMoveEvent(QDragMoveEvent* event) override { event->acceptProposedAction(); }
    void dropEvent(QDropEvent* event) override
    {
        const QByteArray list = event->mimeData()->data(kUriListType);
        _log.Line("drop");
        _log.Write(std::string(list.constData(), static_cast<size_t>(list.size())));
        _log.Line("end-of-drop");
        event->acceptProposedAction();
    }

private:
    const Log& _log;
};

bool _ParseOptions(int argc, char** argv, Options& options)
{
    for (int i = 1; i < argc; ++i) {
        const std::string arg = argv[i];
        if (arg == "--receive") {
            options.receive = true;
        } else if (arg == "--log" && i + 1 < argc) {
            options.log = argv[++i];
        } else if (arg == "--at" && i + 1 < argc) {
            options.placed = std::sscanf(argv[++i], "%d,%d", &options.x, &options.y) == 2;
            if (!options.placed) {
                return false;
            }
        } else if (arg == "--") {
            options.paths.insert(options.paths.end(), argv + i + 1, argv + argc);
            break;
        } else if (arg.rfind("--", 0) == 0) {
            return false;
        } else {
            options.paths.push_back(arg);
        }
    }
    return options.receive || !options.paths.empty();
}

}  // namespace

int main(int argc, char** argv)
{
    Options options;
    if (!_ParseOptions(argc, argv, options)) {
        std::fprintf(stderr,
                     "usage: orvane-test-dragsource [--log FILE] [--at X,Y] PATH...\n"
                     "       orvane-test-dragsource --receive [--log FILE] [--at X,Y]\n");
        return 2;
    }
    int qtArgc = 1;
    QApplication application(qtArgc, argv);
    const Log log(options.log);
    std::unique_ptr<QWidget> window;
    if (options.receive) {
        window = std::make_unique<TargetWindow>(log);
        window->setWindowTitle("orvane-test-droptarget");
    } else {
        window = std::make_unique<SourceWindow>(log, _UriList(options.paths));
        window->setWindowTitle("orvane-test-dragsource");
    }
    window->resize(kWindowWidth, kWindowHeight);
    if (options.placed) {
        window->move(options.x, options.y);
    }
    window->show();
    log.Line("ready");
    return application.exec();
}
