#include "mainwindow/MainDialog.h"

#include "mainwindow/BPMEditDlg.h"

#include <string>

void MainDialog::EditBPM(int row)
{
    if (!_list || row < 0 || row >= _list->GetRowCount()) {
        return;
    }
    _list->SelectRow(row);
    const LPlayItem* item = _ItemOfRow(row);
    if (!item) {
        return;
    }
    const std::string path = item->GetPath();
    const std::string title = item->Parms().GetParm("title", "Unknown");
    double bpm = BPMEditParse(item->Parms().GetParm("bpm", "0"));
    if (!_RunBPMEditDlg(bpm, title.c_str(), path.c_str())) {
        return;
    }
    // Events ran while the dialog was open: the row is written only if it still holds the track.
    LPlayItem* edited = _ItemOfRow(row);
    if (!edited || path != edited->GetPath()) {
        return;
    }
    const std::string text = BPMEditFormat(bpm);
    _list->SetCell(row, kColumnBPM, text);
    LHashTable& fields = edited->Parms();
    fields.SetString("bpm", text.c_str());
    fields.SetInt("beatfreq", BPMEditBeatFrequency(bpm));
    if (bpm == 0) {
        fields.SetInt("beatoffset", 0);
    }
    // A library that cannot be written keeps the value for the save at the end.
    _library.Save();
    _ReloadDecksOfRow(row);
}

bool MainDialog::_RunBPMEditDlg(double& bpm, const char* title, const char* path)
{
    BPMEditDlg dialog;
    return dialog.Open(GetWidget(), &bpm, title, path);
}

void MainDialog::_ReloadDecksOfRow(int row)
{
    for (DJDeckPosition position : {kDeckLeft, kDeckRight}) {
        const DJDeck* deck = _console.GetDeck(position);
        if (_rowOnDeck[position] == row && deck && deck->IsLoaded()) {
            AddFileToDeck(position, row);
        }
    }
}
