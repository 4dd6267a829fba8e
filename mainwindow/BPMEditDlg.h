#pragma once

#include "analysis/LBeatDetector.h"
#include "base/LFile.h"
#include "files/FileConversion.h"

#include <cstdint>
#include <memory>
#include <string>

class QWidget;

// The dialog's controls by id, and the command of the space key.
enum BPMEditControlId : int {
    kBPMEditInput = 101,    // the BPM, "%.2f"
    kBPMEditLabel = 102,    // "BPM:"
    kBPMEditScan = 103,     // "Scan for BPM"
    kBPMEditTap = 104,      // "Tap..."
    kBPMEditTapHint = 105,  // "(Tap the space bar in time with the beat)"
    kBPMEditTapKey = 1001,  // the space key: a tap, as the button
};

inline constexpr int kBPMEditWidth = 432;   // pixels
inline constexpr int kBPMEditHeight = 150;  // pixels
inline constexpr double kBPMEditMaxBPM = 5000.0;
inline constexpr int64_t kBPMTapRestartMs = 4000;  // a longer pause between taps starts a new run

// What the OK button makes of the input.
enum class BPMTextCheck : int {
    kValid,      // `bpm` holds the value
    kInvalid,    // something other than digits and "."
    kOverLimit,  // above 5000
};

// strtod's reading of a number, with "." as the decimal point in every locale; 0 for text
// without a number, and for infinities and NaN.
double BPMEditParse(const char* text);
// Reads the input: only digits and "." are allowed; the value is what strtod reads ("" is 0),
// and at most 5000.
BPMTextCheck BPMEditCheckText(const std::string& text, double& bpm);
// The BPM a detected period (frames at 44,100 Hz) stands for: a period below 13,231 frames,
// over 200 BPM, counts double. 0 for a period that is not above 0.
double BPMEditScanBPM(int period);
// The value as the input and the list show it: "%.2f".
std::string BPMEditFormat(double bpm);
// Frames at 44,100 Hz between beats, rounded; 0 when the BPM is not above 0, and at most INT_MAX
// for tempos too slow to count.
int BPMEditBeatFrequency(double bpm);

// Tap tempo: the average tempo from the first tap of a run to the latest. A pause of more than
// four seconds since the previous tap of the run starts a new run, and so does the first tap.
class BPMTapTempo {
public:
    enum class Kind : int {
        kRestarted,  // a new run: the input shows 0.00
        kTempo,      // `bpm` is the run's average
        kIgnored,    // a tap in the same millisecond as the run's first tells nothing
    };
    struct Result {
        Kind kind = Kind::kRestarted;
        double bpm = 0;
    };

    // A tap at `nowMs` on a monotonic clock.
    Result Tap(int64_t nowMs);
    // Taps in the present run.
    int GetCount() const { return _count; }

private:
    bool _running = false;
    int64_t _startMs = 0;
    int _count = 0;
    int64_t _lastElapsedMs = 0;  // from the run's first tap to its latest
};

// What the dialog shows and asks. The program's is a Qt window; tests drive the dialog through
// one of their own. Interface thread only.
class BPMEditView {
public:
    virtual ~BPMEditView() = default;
    virtual std::string GetInputText() const = 0;
    virtual void SetInputText(const std::string& text) = 0;
    virtual void SetScanText(const std::string& text) = 0;
    // An error box over the dialog; returns when the user has seen it.
    virtual void Alert(const char* title, const char* text) = 0;
    // Shows the dialog and waits until Close; answers what Close was given.
    virtual bool RunModal() = 0;
    virtual void Close(bool confirmed) = 0;
    // The window, if the view has one.
    virtual QWidget* GetWidget() const { return nullptr; }
};

// The modal dialog "Edit BPM" for one track: the BPM typed, tapped or scanned from the track's
// cached copy. It has its own conversion thread and beat detector; both end with it, and no
// result of theirs arrives after it.
class BPMEditDlg : public LBeatDetectorNotify, private FileConverterNotify {
public:
    BPMEditDlg();
    ~BPMEditDlg() override;
    BPMEditDlg(const BPMEditDlg&) = delete;
    BPMEditDlg& operator=(const BPMEditDlg&) = delete;

    // Runs the dialog over `parent` (may be null) for the track at `path`. True when confirmed;
    // `*bpm` then holds the value. `title` is the track's, which the window names to screen readers.
    bool Open(QWidget* parent, double* bpm, const char* title, const char* path);

    // What Open does before its modal loop: the window (unless SetView gave another view),
    // then InitDialog. Tests call it and then drive the dialog by its commands.
    void Begin(QWidget* parent, double* bpm, const char* title, const char* path);
    // A view other than the Qt window; before Begin.
    void SetView(std::unique_ptr<BPMEditView> view);
    BPMEditView* GetView() const { return _view.get(); }

    void InitDialog();
    // Checks the input; closes the dialog only with a valid value, stored in `*bpm`.
    bool CmOk();
    // Stops the detector and waits for it, then closes.
    bool CmCancel();
    // No help pages ship with the program; the button does nothing.
    void CmHelp() {}
    void Command(int id);
    // A key in the dialog; the space key taps. True when the key was used.
    bool EvKeyDown(int character);

    // The detector's result, on the interface thread.
    void bdntfDone(int beatfreq, int beatoffset) override;

    // Dialogs' conversion mailboxes alive: one for each dialog, and one for each ended dialog
    // whose conversion has not yet reported its end.
    static int GetConversionMailboxCount();

    bool IsConverting() const { return _converter.IsBusy(); }
    bool IsScanning() const { return _scanning; }

private:
    class _ScanMailbox;

    // FileConverterNotify, through the mailbox.
    void fcntfProgress(int percent, int deck) override;
    void fcntfComplete(bool success, const char* path, int deck, int beatFrequency, int beatOffset,
                       LSoundTime length, int row, int cueMark) override;

    void _Tap();
    void _Scan();
    void _ShowValue(double bpm);
    static int64_t _NowMs();

    LBeatDetector _detector;
    FileConverter _converter;
    _ScanMailbox* _mailbox = nullptr;  // deletes itself; see there
    double* _bpm = nullptr;             // the caller's value
    char _path[LFile::kPathBytes] = "";
    char _title[LFile::kPathBytes] = "";
    int _deck = 0;  // the position the conversion reports for; the dialog has no deck
    BPMTapTempo _tap;
    bool _scanning = false;  // the detector runs for this dialog
    std::unique_ptr<BPMEditView> _view;
};

// The dialog's Qt window, calling back into `dialog`; `trackTitle` is its accessible description.
std::unique_ptr<BPMEditView> MakeBPMEditViewQt(QWidget* parent, BPMEditDlg& dialog, const char* trackTitle);
