#include "mainwindow/MainDialog.h"

#include "app/LSettings.h"
#include "base/LEventQueue.h"
#include "base/LFile.h"
#include "mainwindow/MainDeckRules.h"
#include "ui/DJBottomPanel.h"
#include "ui/DJConsoleGUI.h"
#include "ui/DJDeckGUI.h"

#include <QPoint>
#include <QWidget>

#include <algorithm>
#include <cstdio>

namespace {

constexpr const char* kDeckSettingsSection = "Settings";  // the engine's and cache's keys
constexpr int kDefaultSampleRate = 44100;                  // Hz, when a track has none stored
constexpr unsigned int kStopWaitMs = 10000;  // the longest wait for stopped jobs' reports

// Data1 of the messages the deck panels send, by deck.
constexpr long kCueMarkMessage[2] = {329, 330};
constexpr long kEditBpmMessage[2] = {315, 316};

constexpr const char* kMissingFileTitle = "Error";
constexpr const char* kMissingFileText = "Cannot find file %s\n\nHave you recently moved or renamed it?";
constexpr const char* kConvertTitle = "Convert File";
constexpr const char* kConvertText = "Can not convert file: %s";
constexpr const char* kChannelsTitle = "Please adjust your audio settings";
constexpr const char* kChannelsText =
    "You currently have the same output channels selected for your headphone output and main output. Orvane will "
    "now open the options dialog so you can change these settings.";
constexpr const char* kRecordingTitle = "Recording File";

std::string _Format(const char* format, const std::string& value)
{
    const int bytes = std::snprintf(nullptr, 0, format, value.c_str());
    std::string text(static_cast<size_t>(std::max(bytes, 0)) + 1, '\0');
    std::snprintf(text.data(), text.size(), format, value.c_str());
    text.pop_back();
    return text;
}

std::string _SettingsFile()
{
    const std::string path = LSettingsPath(LSettingUser::kCurrentUser);
    return path.empty() ? "the settings file" : path;
}

// Where a setting of the "Settings" section is changed while the preferences have no page
// for it.
std::string _WhereToSet(const char* keys, const char* example, bool restart)
{
    return std::string("The setting ") + keys + " is kept in the section \"" + kDeckSettingsSection + "\" of " +
           _SettingsFile() + "; change it with\n\n    orvane-tool settings set " + kDeckSettingsSection + " " +
           example + (restart ? "\n\nand start Orvane again." : "");
}

DJDeckPosition _Other(DJDeckPosition position)
{
    return position == kDeckLeft ? kDeckRight : kDeckLeft;
}

}  // namespace

// ---- loading a track

void MainDialog::AddFileToDeck(DJDeckPosition position, int row)
{
    _StartLoad(position, row);
}

void MainDialog::AddFileToDeck(DJDeckPosition position)
{
    if (_list && _list->GetFirstSelected() >= 0) {
        AddFileToDeck(position, _list->GetFirstSelected());
    }
}

bool MainDialog::_StartLoad(DJDeckPosition position, int row)
{
    const LPlayItem* item = _ItemOfRow(row);
    DJDeck* deck = _HasPanel(position) ? _Panel(position).GetDeck() : nullptr;
    if (!item || !deck || _conversionsStopped) {
        return false;
    }
    const std::string path = item->GetPath();
    if (!LFile::Exists(path.c_str())) {
        GetUserPrompts().Alert(kMissingFileTitle, _Format(kMissingFileText, path));
        return false;
    }
    const LHashTable& parms = item->Parms();
    const int beatFrequency = parms.GetInt("beatfreq", 0);
    const int beatOffset = parms.GetInt("beatoffset", 0);
    const int cueMark = parms.GetInt("cuemarkpos", 0);
    const LSoundTime time(MainTrackTimeMs(parms.GetInt("length", 0), parms.GetInt("samplerate", kDefaultSampleRate)));
    if (_conversionsPending[position] == 0 && _converter[position].IsBusy()) {
        // The last job has reported and its thread is only returning: a load right after
        // another must not be refused for that.
        _converter[position].WaitForThreadEnd();
    }
    _Panel(position).ClearDeck();
    deck->SetLoading(true);
    auto* owner = reinterpret_cast<OpaqueWindowPtr*>(GetWidget());
    if (!_converter[position].ConvertFileForDeck(path.c_str(), owner, _converterHandler, position, beatFrequency,
                                                 beatOffset, time, row, cueMark)) {
        deck->SetLoading(false);
        return false;
    }
    ++_conversionsPending[position];
    return true;
}

bool MainDialog::IsDeckConverting(DJDeckPosition position) const
{
    return (position == kDeckLeft || position == kDeckRight) && _converter[position].IsBusy();
}

void MainDialog::fcntfProgress(int percent, int deck)
{
    if (_HasPanel(deck) && !_conversionsStopped) {
        _Panel(static_cast<DJDeckPosition>(deck)).SetProgressCounter(percent);
    }
}

void MainDialog::fcntfComplete(bool success, const char* path, int deck, int beatFrequency, int beatOffset,
                               LSoundTime length, int row, int cueMark)
{
    if (deck != kDeckLeft && deck != kDeckRight) {
        return;
    }
    _conversionsPending[deck] = std::max(_conversionsPending[deck] - 1, 0);
    if (_conversionsStopped || !_HasPanel(deck)) {
        return;
    }
    const auto position = static_cast<DJDeckPosition>(deck);
    DJDeckGUI& panel = _Panel(position);
    // A cached file the deck cannot open is as much a failed conversion as one never made.
    if (success && panel.Load(path, beatFrequency, beatOffset, cueMark)) {
        row = _RowOfCachedFile(row, path ? path : "");
        char timeText[32];
        length._GetTextHMMSSF(timeText);
        _list->SetCell(row, kColumnTime, timeText);
        panel.SetTrackInfo(_list->GetCell(row, kColumnTitle).c_str(), _list->GetCell(row, kColumnArtist).c_str(),
                           timeText);
        _rowOnDeck[position] = row;
    } else {
        if (DJDeck* engineDeck = panel.GetDeck()) {
            engineDeck->SetLoading(false);
        }
        GetUserPrompts().Alert(kConvertTitle, _Format(kConvertText, path ? path : ""));
    }
    // The alert may have let the window go down meanwhile.
    if (_HasPanel(deck)) {
        panel.SetProgressCounter(-1);
    }
    UpdateDeckColumn();
    EnableControls();
}

void MainDialog::_StopConversions()
{
    _conversionsStopped = true;
    for (FileConverter& converter : _converter) {
        converter.StopThreadSoon();
    }
    for (FileConverter& converter : _converter) {
        converter.WaitForThreadEnd();
    }
    // Every started job reports once; until then it holds a reference to this window.
    LEventQueue::ForCurrentThread()->RunUntil(
        [this] { return _conversionsPending[kDeckLeft] == 0 && _conversionsPending[kDeckRight] == 0; }, kStopWaitMs);
}

// ---- choosing a deck

DJDeckPosition MainDialog::FindFreestDeck() const
{
    MainDeckView views[2];
    for (DJDeckPosition position : {kDeckLeft, kDeckRight}) {
        if (const DJDeck* deck = _console.GetDeck(position)) {
            views[position] = {deck->IsLoaded(), deck->IsLoading(), deck->IsActive()};
        }
    }
    return MainFindFreestDeck(views[kDeckLeft], views[kDeckRight], _console.GetCrossFade());
}

void MainDialog::EvFileDoubleClick()
{
    if (!_list || !_HasPanel(kDeckLeft) || !_HasPanel(kDeckRight)) {
        return;
    }
    const DJDeckPosition position = FindFreestDeck();
    const int first = _list->GetFirstSelected();
    // Starting the deck is for the track just asked for, never for what a failed load left.
    if (first < 0 || !_StartLoad(position, first)) {
        return;
    }
    const DJDeck* a = _console.GetDeck(kDeckLeft);
    const DJDeck* b = _console.GetDeck(kDeckRight);
    if (a && b && !a->IsActive() && !b->IsActive()) {
        _Panel(position).CmPlay();
    }
    if (_autoPlay && first + 1 < _list->GetRowCount()) {
        _list->SelectRow(first + 1);
    }
}

void MainDialog::EvListDoubleClick(int /*row*/)
{
    EvFileDoubleClick();
}

// ---- the Deck column

LPlayItem* MainDialog::_ItemOfIndex(int index)
{
    LPlayList& list = _library.GetList();
    if (index < 0) {
        return nullptr;
    }
    // Items are kept in index order; the search is for a list caught between changes.
    LPlayItem* item = list.GetItem(static_cast<size_t>(index));
    if (item && item->GetIndex() == index) {
        return item;
    }
    for (size_t i = 0; i < list.Count(); ++i) {
        if (list.GetItem(i)->GetIndex() == index) {
            return list.GetItem(i);
        }
    }
    return nullptr;
}

LPlayItem* MainDialog::_ItemOfRow(int row)
{
    return _list ? _ItemOfIndex(_list->GetRowIndex(row)) : nullptr;
}

int MainDialog::_RowOfCachedFile(int row, const std::string& cachedPath)
{
    // The list may have been sorted or changed while the track was converting. A deck given
    // the track's own file (no cached copy) holds that track too.
    const std::string_view name = MainDeckSourceName(cachedPath);
    const auto holds = [&](int r) {
        const LPlayItem* item = _ItemOfRow(r);
        return item && (MainFileNameOf(item->GetPath()) == name || cachedPath == item->GetPath());
    };
    if (holds(row)) {
        return row;
    }
    const int rows = _list->GetRowCount();
    for (int r = 0; r < rows; ++r) {
        if (holds(r)) {
            return r;
        }
    }
    return -1;
}

void MainDialog::UpdateDeckColumn()
{
    if (!_list) {
        return;
    }
    std::string sources[2];
    for (DJDeckPosition position : {kDeckLeft, kDeckRight}) {
        const DJDeck* deck = _console.GetDeck(position);
        if (deck && deck->IsLoaded()) {
            sources[position] = MainDeckSourceName(deck->GetTrackPath());
        }
    }
    const int rows = _list->GetRowCount();
    for (int row = 0; row < rows; ++row) {
        const LPlayItem* item = _ItemOfRow(row);
        const char* text = item ? MainDeckCellText(MainFileNameOf(item->GetPath()), sources[0], sources[1]) : "";
        if (_list->GetCell(row, kColumnDeck) != text) {
            _list->SetCell(row, kColumnDeck, text);
        }
    }
}

void MainDialog::ClearListViewDeck(DJDeckPosition position)
{
    if (position != kDeckLeft && position != kDeckRight) {
        return;
    }
    if (_list) {
        const int cleared = _rowOnDeck[position];
        const int other = _rowOnDeck[_Other(position)];
        const int rows = _list->GetRowCount();
        for (int row = 0; row < rows; ++row) {
            if (row != other && !_list->GetCell(row, kColumnDeck).empty()) {
                _list->SetCell(row, kColumnDeck, "");
            }
        }
        if (cleared >= 0 && cleared == other) {
            _list->SetCell(cleared, kColumnDeck, position == kDeckLeft ? "B" : "A");
        }
    }
    _rowOnDeck[position] = -1;
    EnableControls();
}

// ---- what the deck panels tell

long MainDialog::EvInterWinMessage(int message, long data1, long /*data2*/)
{
    switch (static_cast<DJDeckParentMessage>(message)) {
    case DJDeckParentMessage::kDeckCleared:
        if (data1 == kDeckPanelA || data1 == kDeckPanelB) {
            ClearListViewDeck(data1 == kDeckPanelA ? kDeckLeft : kDeckRight);
        }
        break;
    case DJDeckParentMessage::kCueMarkChanged:
        for (DJDeckPosition position : {kDeckLeft, kDeckRight}) {
            DJDeck* deck = _console.GetDeck(position);
            if (data1 == kCueMarkMessage[position] && deck) {
                SaveCueMark(_rowOnDeck[position], *deck);
            }
        }
        break;
    case DJDeckParentMessage::kEditBPM:
        for (DJDeckPosition position : {kDeckLeft, kDeckRight}) {
            if (data1 == kEditBpmMessage[position]) {
                EditBPM(_rowOnDeck[position]);
            }
        }
        break;
    }
    return 0;
}

void MainDialog::SaveCueMark(int row, DJDeck& deck)
{
    if (const LPlayItem* item = _ItemOfRow(row)) {
        _library.SetCueMark(item->GetIndex(), deck.GetCueMark());
    }
}

// ---- what the console tells

void MainDialog::djcntfBeats(DJDeck& deck)
{
    const int frequency = deck.GetBeatFrequency();
    const DJDeckPosition position = deck.GetDeckPosition();
    if (frequency == 0 || (position != kDeckLeft && position != kDeckRight)) {
        return;
    }
    const int row = _rowOnDeck[position];
    const LPlayItem* item = _ItemOfRow(row);
    if (!item) {
        return;
    }
    _library.SetBeatData(item->GetIndex(), frequency, deck.GetBeatOffset());
    _list->SetCell(row, kColumnBPM, MainBpmText(frequency));
}

void MainDialog::djcntfLevel(const LDBMC& level, long id)
{
    if (!_consolePanel || id != DJConsole::kMainPlayerId || !_console.IsPlayerRunning()) {
        return;
    }
    // The meter shows a stereo pair: a device with more channels gives its first two.
    LDBMC stereo = level;
    stereo.channels = std::min<unsigned char>(stereo.channels, 2);
    _consolePanel->SetMasterLevel(stereo);
}

void MainDialog::djcntfStop(DJDeck& /*deck*/)
{
    if (_consolePanel) {
        _consolePanel->ClearMeter();
    }
}

void MainDialog::djcntfPlay(DJDeck& /*deck*/) {}

void MainDialog::djcntfStopRecording()
{
    if (_consolePanel && _consolePanel->IsRecording()) {
        _consolePanel->StopRecording();
        _bottomPanel->SetRecordingMode(false);
    }
}

bool MainDialog::djcntfIsRecording()
{
    return _consolePanel && _consolePanel->IsRecording();
}

void MainDialog::djcntfShowMessage(const char* text, const char* title)
{
    if (_prompts) {
        GetUserPrompts().Alert(title ? title : "", text ? text : "");
    }
}

// ---- output channels

void MainDialog::CheckOutputChannels()
{
    if (!MainOutputsShareChannel(_console.GetOutputChannelLeft(), _console.GetOutputChannelRight(),
                                 _console.GetOutputChannelLeftMonitor(), _console.GetOutputChannelRightMonitor())) {
        return;
    }
    // The options dialog has no Audio page yet: the alert also says where the channels are set.
    GetUserPrompts().Alert(kChannelsTitle,
                           std::string(kChannelsText) + "\n\n" +
                               _WhereToSet("MainOutputLeft, MainOutputRight, HeadphoneOutputLeft and "
                                           "HeadphoneOutputRight (channel numbers from 0, -1 for none)",
                                           "HeadphoneOutputLeft 2", true));
}

// ---- rows dragged onto the decks

bool MainDialog::OverDeck(const DJDeckGUI& panel, int x, int y) const
{
    const QWidget* window = GetWidget();
    const QWidget* area = panel.GetControlHandle(kDeckWaveDetailed);
    if (!window || !area || !window->isAncestorOf(area)) {
        return false;
    }
    const QPoint origin = area->mapTo(window, QPoint(0, 0));
    return MainInsideStrictly(origin.x(), origin.y(), area->width(), area->height(), x, y);
}

bool MainDialog::_HasPanel(int deck) const
{
    return (deck == kDeckLeft || deck == kDeckRight) && _deckPanel[deck];
}

void MainDialog::_SendToPanels(int message, long on)
{
    for (DJDeckPosition position : {kDeckLeft, kDeckRight}) {
        if (_HasPanel(position)) {
            _Panel(position).SendInterWinMessage(message, on, 0);
        }
    }
}

void MainDialog::EvDragStarted(const LDroppedListViewElement& /*element*/)
{
    _SendToPanels(static_cast<int>(DJDeckMessage::kDragActive), 1);
}

bool MainDialog::EvDragging(const LDroppedListViewElement& element)
{
    if (!_HasPanel(kDeckLeft) || !_HasPanel(kDeckRight)) {
        return false;
    }
    _SendToPanels(static_cast<int>(DJDeckMessage::kDragActive), 1);
    constexpr int kOverDeck = static_cast<int>(DJDeckMessage::kOverDeck);
    for (DJDeckPosition position : {kDeckLeft, kDeckRight}) {
        if (OverDeck(_Panel(position), element.x, element.y)) {
            _Panel(position).SendInterWinMessage(kOverDeck, 1, 0);
            _Panel(_Other(position)).SendInterWinMessage(kOverDeck, 0, 0);
            return true;
        }
    }
    _SendToPanels(kOverDeck, 0);
    return false;
}

void MainDialog::EvDropListViewElement(LDroppedListViewElement& element)
{
    for (DJDeckPosition position : {kDeckLeft, kDeckRight}) {
        if (_HasPanel(position) && OverDeck(_Panel(position), element.x, element.y)) {
            AddFileToDeck(position, element.row);
            return;
        }
    }
}

void MainDialog::EvDragStopped()
{
    _SendToPanels(static_cast<int>(DJDeckMessage::kOverDeck), 0);
    _SendToPanels(static_cast<int>(DJDeckMessage::kDragActive), 0);
}

// ---- auto play and recording

void MainDialog::CmAutoPlay()
{
    _autoPlay = !_autoPlay;
    _consolePanel->SetAutoPlayMode(_autoPlay);
    _bottomPanel->SetAutoPlayMode(_autoPlay);
}

std::string MainDialog::_RecordingRefusal() const
{
    // The options dialog has no Recording page yet, where a name would be asked for: only
    // automatic names in an existing folder can start a recording.
    char folder[kLTextBytes];
    _LUserSettingGetString(kDeckSettingsSection, "DefaultRecordFolder", "", folder);
    const char* folderExample = "DefaultRecordFolder /path/to/folder";
    if (!folder[0]) {
        return "No recording folder is set.\n\n" + _WhereToSet("DefaultRecordFolder", folderExample, false);
    }
    if (!LFile::IsFolder(folder)) {
        return _Format("The recording folder %s does not exist.", folder) + "\n\n" +
               _WhereToSet("DefaultRecordFolder", folderExample, false);
    }
    if (!LUserSettingGetBool(kDeckSettingsSection, "AutoRecordFileName", false)) {
        return std::string("Recording can start once automatic file names (by date and time) are on.\n\n") +
               _WhereToSet("AutoRecordFileName", "AutoRecordFileName 1", false);
    }
    return "";
}

void MainDialog::SetRecording(bool on)
{
    if (!_consolePanel || !_bottomPanel || _consolePanel->IsRecording() == on) {
        return;
    }
    if (on) {
        if (const std::string refusal = _RecordingRefusal(); !refusal.empty()) {
            GetUserPrompts().Alert(kRecordingTitle, refusal);
            return;
        }
    }
    _bottomPanel->SetRecordingMode(on);
    _consolePanel->ToggleRecordingMode();
}
