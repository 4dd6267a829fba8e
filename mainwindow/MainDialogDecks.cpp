#include "mainwindow/MainDialog.h"

#include "ui/DJBottomPanel.h"
#include "ui/DJConsoleGUI.h"
#include "ui/DJDeckGUI.h"

#include <QMessageBox>

void MainDialog::AddFileToDeck(DJDeckPosition /*position*/, int /*row*/) {}

void MainDialog::AddFileToDeck(DJDeckPosition position)
{
    if (_list && _list->GetFirstSelected() >= 0) {
        AddFileToDeck(position, _list->GetFirstSelected());
    }
}

DJDeckPosition MainDialog::FindFreestDeck() const { return kDeckLeft; }
bool MainDialog::OverDeck(const DJDeckGUI& /*panel*/, int /*x*/, int /*y*/) const { return false; }
void MainDialog::SaveCueMark(int /*row*/, DJDeck& /*deck*/) {}
void MainDialog::UpdateDeckColumn() {}
void MainDialog::ClearListViewDeck(DJDeckPosition /*position*/) {}
void MainDialog::EvFileDoubleClick() {}
bool MainDialog::IsDeckConverting(DJDeckPosition position) const { return _converter[position].IsBusy(); }
long MainDialog::EvInterWinMessage(int /*message*/, long /*data1*/, long /*data2*/) { return 0; }
void MainDialog::fcntfProgress(int /*percent*/, int /*deck*/) {}
void MainDialog::fcntfComplete(bool, const char*, int, int, int, LSoundTime, int, int) {}
void MainDialog::djcntfBeats(DJDeck& /*deck*/) {}
void MainDialog::djcntfStop(DJDeck& /*deck*/) {}
void MainDialog::djcntfPlay(DJDeck& /*deck*/) {}
void MainDialog::CheckOutputChannels() {}
void MainDialog::EvDragStarted(const LDroppedListViewElement& /*element*/) {}
bool MainDialog::EvDragging(const LDroppedListViewElement& /*element*/) { return false; }
void MainDialog::EvDropListViewElement(LDroppedListViewElement& /*element*/) {}
void MainDialog::EvDragStopped() {}
void MainDialog::EvListDoubleClick(int /*row*/) { EvFileDoubleClick(); }

LPlayItem* MainDialog::_ItemOfRow(int /*row*/) { return nullptr; }

void MainDialog::CmAutoPlay()
{
    _autoPlay = !_autoPlay;
    _consolePanel->SetAutoPlayMode(_autoPlay);
    _bottomPanel->SetAutoPlayMode(_autoPlay);
}

void MainDialog::SetRecording(bool on)
{
    if (!_consolePanel || _consolePanel->IsRecording() == on) {
        return;
    }
    _bottomPanel->SetRecordingMode(on);
    _consolePanel->ToggleRecordingMode();
}

// ---- console notifications

void MainDialog::djcntfLevel(const LDBMC& level, long id)
{
    if (_consolePanel && id == DJConsole::kMainPlayerId) {
        _consolePanel->SetMasterLevel(level);
    }
}

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
    QMessageBox::warning(GetWidget(), QString::fromUtf8(title ? title : ""), QString::fromUtf8(text ? text : ""));
}
