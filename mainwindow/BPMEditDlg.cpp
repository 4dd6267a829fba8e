#include "mainwindow/BPMEditDlg.h"

#include "engine/DJDeck.h"

#include <QDialog>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QMessageBox>
#include <QPushButton>

#include <charconv>
#include <chrono>
#include <climits>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <utility>

namespace {

constexpr double kSamplesPerMinute = 2646000.0;  // 44,100 Hz times 60 s
constexpr double kMsPerMinute = 60.0 * 1000.0;
constexpr char kScanText[] = "Scan for BPM";
constexpr char kScanningText[] = "Scanning..";
constexpr char kRescanText[] = "Rescan";

bool _IsBPMCharacter(char c)
{
    return (c >= '0' && c <= '9') || c == '.';
}

// Whether the text's whole part has a digit other than 0: a value out of range is then huge,
// otherwise tiny.
bool _HasNonZeroWholePart(const char* first, const char* last)
{
    for (; first != last && *first != '.'; ++first) {
        if (*first >= '1' && *first <= '9') {
            return true;
        }
    }
    return false;
}

}  // namespace

// ---- the pure parts

double BPMEditParse(const char* text)
{
    if (!text) {
        return 0;
    }
    // strtod's reading, but with "." whatever the user's locale says.
    const char* first = text;
    while (*first == ' ' || *first == '\t') {
        ++first;
    }
    const char* last = first + std::strlen(first);
    double value = 0;
    const auto [end, error] = std::from_chars(first, last, value);
    if (error == std::errc::result_out_of_range) {
        return _HasNonZeroWholePart(first, end) ? HUGE_VAL : 0;
    }
    if (error != std::errc() || !std::isfinite(value)) {
        return 0;
    }
    return value;
}

BPMTextCheck BPMEditCheckText(const std::string& text, double& bpm)
{
    for (char c : text) {
        if (!_IsBPMCharacter(c)) {
            return BPMTextCheck::kInvalid;
        }
    }
    const double value = BPMEditParse(text.c_str());
    if (value > kBPMEditMaxBPM) {
        return BPMTextCheck::kOverLimit;
    }
    bpm = value;
    return BPMTextCheck::kValid;
}

double BPMEditScanBPM(int period)
{
    if (period <= 0) {
        return 0;
    }
    if (period < DJDeck::kDoubleBelowPeriod) {
        period *= 2;
    }
    return kSamplesPerMinute / period;
}

std::string BPMEditFormat(double bpm)
{
    // Room for the widest double in fixed notation; the form is the same in every locale.
    char text[400];
    const auto [end, error] = std::to_chars(text, text + sizeof text, bpm, std::chars_format::fixed, 2);
    if (error != std::errc()) {
        return "0.00";
    }
    return std::string(text, end);
}

int BPMEditBeatFrequency(double bpm)
{
    if (!(bpm > 0)) {
        return 0;
    }
    const double frames = kSamplesPerMinute / bpm;
    if (frames >= static_cast<double>(INT_MAX)) {
        return INT_MAX;
    }
    return static_cast<int>(std::lround(frames));
}

BPMTapTempo::Result BPMTapTempo::Tap(int64_t nowMs)
{
    const int64_t elapsed = nowMs - _startMs;
    if (!_running || elapsed - _lastElapsedMs > kBPMTapRestartMs) {
        // A new run; its pause is measured from its own first tap.
        _running = true;
        _startMs = nowMs;
        _count = 1;
        _lastElapsedMs = 0;
        return {Kind::kRestarted, 0};
    }
    if (elapsed <= 0) {
        return {Kind::kIgnored, 0};
    }
    const double bpm = _count * kMsPerMinute / static_cast<double>(elapsed);
    ++_count;
    _lastElapsedMs = elapsed;
    return {Kind::kTempo, bpm};
}

// ---- the dialog

// Hears the dialog's conversion job. A job can outlive the dialog (it reports from the queue
// after its thread has ended), so the mailbox stays until that report has come and then
// deletes itself.
class BPMEditDlg::_ScanMailbox final : public FileConverterNotify, public FileConverterNotifyHandler {
public:
    explicit _ScanMailbox(BPMEditDlg& owner)
        : FileConverterNotifyHandler(static_cast<FileConverterNotify&>(*this)), _owner(&owner)
    {
        ++_count;
    }
    static int GetCount() { return _count; }

    void JobStarted() { _jobRunning = true; }
    // The dialog ends: the mailbox goes now, or when the running job's report arrives.
    void Release()
    {
        _owner = nullptr;
        if (!_jobRunning) {
            delete this;
        }
    }

    void fcntfProgress(int percent, int deck) override
    {
        if (_owner) {
            _owner->fcntfProgress(percent, deck);
        }
    }
    void fcntfComplete(bool success, const char* path, int deck, int beatFrequency, int beatOffset, LSoundTime length,
                       int row, int cueMark) override
    {
        _jobRunning = false;
        if (_owner) {
            _owner->fcntfComplete(success, path, deck, beatFrequency, beatOffset, length, row, cueMark);
        }
    }

protected:
    void EvQueuedNotifyData(unsigned int code, const void* data, unsigned long size) override
    {
        FileConverterNotifyHandler::EvQueuedNotifyData(code, data, size);
        if (!_owner && !_jobRunning) {
            delete this;
        }
    }

private:
    ~_ScanMailbox() override { --_count; }

    static inline int _count = 0;  // interface thread only
    BPMEditDlg* _owner;
    bool _jobRunning = false;
};

BPMEditDlg::BPMEditDlg() : _mailbox(new _ScanMailbox(*this)) {}

int BPMEditDlg::GetConversionMailboxCount()
{
    return _ScanMailbox::GetCount();
}

BPMEditDlg::~BPMEditDlg()
{
    _detector.Stop();
    _converter.StopThreadSoon();
    _converter.WaitForThreadEnd();
    _mailbox->Release();
    _view.reset();
}

bool BPMEditDlg::Open(QWidget* parent, double* bpm, const char* title, const char* path)
{
    Begin(parent, bpm, title, path);
    return _view->RunModal();
}

void BPMEditDlg::Begin(QWidget* parent, double* bpm, const char* title, const char* path)
{
    _bpm = bpm;
    std::snprintf(_path, sizeof _path, "%s", path ? path : "");
    std::snprintf(_title, sizeof _title, "%s", title ? title : "");
    if (!_view) {
        _view = MakeBPMEditViewQt(parent, *this, _title);
    }
    InitDialog();
}

void BPMEditDlg::SetView(std::unique_ptr<BPMEditView> view)
{
    _view = std::move(view);
}

void BPMEditDlg::InitDialog()
{
    _ShowValue(_bpm ? *_bpm : 0);
    _view->SetScanText(kScanText);
}

bool BPMEditDlg::CmOk()
{
    double value = 0;
    switch (BPMEditCheckText(_view->GetInputText(), value)) {
    case BPMTextCheck::kInvalid:
        _view->Alert("Invalid BPM", "Please enter a valid number.");
        return false;
    case BPMTextCheck::kOverLimit:
        _view->Alert("BPM over the limit", "Please enter a (much) smaller number.");
        return false;
    case BPMTextCheck::kValid:
        break;
    }
    if (_bpm) {
        *_bpm = value;
    }
    _view->Close(true);
    return true;
}

bool BPMEditDlg::CmCancel()
{
    // Joined here, so that no result of the detector arrives once the dialog has gone.
    _detector.Stop();
    _scanning = false;
    _view->Close(false);
    return true;
}

void BPMEditDlg::Command(int id)
{
    switch (id) {
    case kBPMEditScan:
        _Scan();
        break;
    case kBPMEditTap:
    case kBPMEditTapKey:
        _Tap();
        break;
    default:
        break;
    }
}

bool BPMEditDlg::EvKeyDown(int character)
{
    if (character != ' ') {
        return false;
    }
    Command(kBPMEditTapKey);
    return true;
}

void BPMEditDlg::_Tap()
{
    const BPMTapTempo::Result result = _tap.Tap(_NowMs());
    switch (result.kind) {
    case BPMTapTempo::Kind::kRestarted:
        _view->SetInputText(BPMEditFormat(0));
        break;
    case BPMTapTempo::Kind::kTempo:
        _view->SetInputText(BPMEditFormat(result.bpm));
        break;
    case BPMTapTempo::Kind::kIgnored:
        break;
    }
}

void BPMEditDlg::_Scan()
{
    if (_converter.IsBusy()) {
        return;
    }
    if (_converter.ConvertFileForDeck(_path, nullptr, *_mailbox, _deck, 0, 0, LSoundTime(), 0, 0)) {
        _mailbox->JobStarted();
    }
}

void BPMEditDlg::fcntfProgress(int percent, int /*deck*/)
{
    char text[32];
    std::snprintf(text, sizeof text, "Converting %d%%", percent);
    _view->SetInputText("");
    _view->SetScanText(text);
}

void BPMEditDlg::fcntfComplete(bool success, const char* path, int, int, int, LSoundTime, int, int)
{
    if (!success) {
        // The button stays as it is; the input gets back the value it had before the scan.
        _ShowValue(_bpm ? *_bpm : 0);
        return;
    }
    _scanning = true;
    _detector.DetectBeats(path, this);
    _view->SetScanText(kScanningText);
    _view->SetInputText("");
}

void BPMEditDlg::bdntfDone(int beatfreq, int /*beatoffset*/)
{
    _scanning = false;
    _detector.CloseSource();
    _view->SetScanText(kRescanText);
    const double bpm = BPMEditScanBPM(beatfreq);
    if (bpm <= 0) {
        _ShowValue(_bpm ? *_bpm : 0);
        return;
    }
    if (_bpm) {
        *_bpm = bpm;
    }
    _ShowValue(bpm);
}

void BPMEditDlg::_ShowValue(double bpm)
{
    _view->SetInputText(BPMEditFormat(bpm));
}

int64_t BPMEditDlg::_NowMs()
{
    using namespace std::chrono;
    return duration_cast<milliseconds>(steady_clock::now().time_since_epoch()).count();
}

// ---- the window

namespace {

constexpr char kWindowTitle[] = "Edit BPM";
constexpr int kFontPixels = 13;
constexpr int kMargin = 16;         // pixels
constexpr int kRowHeight = 28;      // pixels: input and buttons
constexpr int kButtonWidth = 96;    // pixels: Help, Cancel, OK
constexpr int kButtonGap = 8;       // pixels

struct ControlPlace {
    int id;
    int x, y, width, height;  // pixels
};
constexpr ControlPlace kPlaces[] = {
    {kBPMEditLabel, kMargin, 18, 44, kRowHeight},
    {kBPMEditInput, kMargin + 48, 18, 112, kRowHeight},
    {kBPMEditScan, 192, 18, 120, kRowHeight},
    {kBPMEditTap, 320, 18, kBPMEditWidth - 320 - kMargin, kRowHeight},
    {kBPMEditTapHint, kMargin, 56, kBPMEditWidth - 2 * kMargin, 22},
};

// The dialog as a Qt window. Every button and key ends in the dialog's own handlers; the space
// key taps wherever the focus is, so it never presses a focused button or types a blank.
class BPMEditWindow final : public QDialog, public BPMEditView {
public:
    BPMEditWindow(QWidget* parent, BPMEditDlg& dialog) : QDialog(parent), _dialog(dialog)
    {
        setWindowTitle(QString::fromLatin1(kWindowTitle));
        setFixedSize(kBPMEditWidth, kBPMEditHeight);
        QFont font(QStringLiteral("DejaVu Sans"));
        font.setPixelSize(kFontPixels);
        setFont(font);
        _Build();
    }

    std::string GetInputText() const override { return _input->text().toStdString(); }
    void SetInputText(const std::string& text) override { _input->setText(QString::fromStdString(text)); }
    void SetScanText(const std::string& text) override { _scan->setText(QString::fromStdString(text)); }
    void Alert(const char* title, const char* text) override
    {
        QMessageBox::warning(this, QString::fromUtf8(title), QString::fromUtf8(text));
    }
    bool RunModal() override { return exec() == QDialog::Accepted; }
    void Close(bool confirmed) override { QDialog::done(confirmed ? QDialog::Accepted : QDialog::Rejected); }
    QWidget* GetWidget() const override { return const_cast<BPMEditWindow*>(this); }

    // Enter, the OK button, Escape, the close box and a quit of the program all come here.
    void accept() override { _dialog.CmOk(); }
    void reject() override { _dialog.CmCancel(); }

protected:
    bool eventFilter(QObject* watched, QEvent* event) override
    {
        if (event->type() != QEvent::KeyPress && event->type() != QEvent::KeyRelease) {
            return QDialog::eventFilter(watched, event);
        }
        auto* key = static_cast<QKeyEvent*>(event);
        if (key->key() != Qt::Key_Space ||
            (key->modifiers() & (Qt::ControlModifier | Qt::AltModifier | Qt::MetaModifier))) {
            return QDialog::eventFilter(watched, event);
        }
        // A held key repeats; only the press itself is a tap.
        if (event->type() == QEvent::KeyPress && !key->isAutoRepeat()) {
            _dialog.EvKeyDown(' ');
        }
        return true;
    }

private:
    void _Build()
    {
        auto* label = new QLabel(QStringLiteral("BPM:"), this);
        _input = new QLineEdit(this);
        _scan = new QPushButton(this);
        auto* tap = new QPushButton(QStringLiteral("Tap..."), this);
        auto* hint = new QLabel(QStringLiteral("(Tap the space bar in time with the beat)"), this);
        const std::pair<int, QWidget*> controls[] = {
            {kBPMEditLabel, label}, {kBPMEditInput, _input}, {kBPMEditScan, _scan}, {kBPMEditTap, tap},
            {kBPMEditTapHint, hint},
        };
        for (const auto& [id, widget] : controls) {
            widget->setObjectName(QString::number(id));
            for (const ControlPlace& place : kPlaces) {
                if (place.id == id) {
                    widget->setGeometry(place.x, place.y, place.width, place.height);
                }
            }
        }
        label->setAlignment(Qt::AlignLeft | Qt::AlignVCenter);
        QObject::connect(_scan, &QPushButton::clicked, this, [this] { _dialog.Command(kBPMEditScan); });
        QObject::connect(tap, &QPushButton::clicked, this, [this] { _dialog.Command(kBPMEditTap); });
        _AddBottomButtons();
        installEventFilter(this);
        for (QWidget* widget : findChildren<QWidget*>()) {
            widget->installEventFilter(this);
        }
        _input->setFocus();
    }

    void _AddBottomButtons()
    {
        const int y = kBPMEditHeight - kMargin - kRowHeight;
        auto* help = new QPushButton(QStringLiteral("Help"), this);
        auto* cancel = new QPushButton(QStringLiteral("Cancel"), this);
        auto* ok = new QPushButton(QStringLiteral("OK"), this);
        help->setObjectName(QStringLiteral("help"));
        cancel->setObjectName(QStringLiteral("cancel"));
        ok->setObjectName(QStringLiteral("ok"));
        help->setGeometry(kMargin, y, kButtonWidth, kRowHeight);
        cancel->setGeometry(kBPMEditWidth - kMargin - 2 * kButtonWidth - kButtonGap, y, kButtonWidth, kRowHeight);
        ok->setGeometry(kBPMEditWidth - kMargin - kButtonWidth, y, kButtonWidth, kRowHeight);
        ok->setDefault(true);
        QObject::connect(help, &QPushButton::clicked, this, [this] { _dialog.CmHelp(); });
        QObject::connect(cancel, &QPushButton::clicked, this, [this] { reject(); });
        QObject::connect(ok, &QPushButton::clicked, this, [this] { accept(); });
    }

    BPMEditDlg& _dialog;
    QLineEdit* _input = nullptr;
    QPushButton* _scan = nullptr;
};

}  // namespace

std::unique_ptr<BPMEditView> MakeBPMEditViewQt(QWidget* parent, BPMEditDlg& dialog, const char* trackTitle)
{
    auto window = std::make_unique<BPMEditWindow>(parent, dialog);
    window->setAccessibleDescription(QString::fromUtf8(trackTitle ? trackTitle : ""));
    return window;
}
