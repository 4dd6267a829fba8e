#include "mainwindow/MainDialog.h"

#include "OrvaneVersion.h"
#include "engine/CmdCounts.h"
#include "mainwindow/MainMenus.h"
#include "ui/DJBottomPanel.h"
#include "ui/DJConsoleGUI.h"

#include <QAction>
#include <QMenuBar>
#include <QMessageBox>

#include <vector>

void MainDialog::Command(int id)
{
    CmdCountsIncrement(static_cast<uint32_t>(id));
    switch (id) {
    case kCmQuit:
        RequestQuit();
        break;
    case kCmAbout:
        QMessageBox::about(GetWidget(), QStringLiteral("About Orvane"),
                           QStringLiteral(ORVANE_PRODUCT " " ORVANE_VERSION));
        break;
    case kCmCrossFadeLeftAuto:
        _consolePanel->AutoCrossFadeToLeft();
        break;
    case kCmCrossFadeRightAuto:
        _consolePanel->AutoCrossFadeToRight();
        break;
    case kLibraryList:
        _bottomPanel->Command(id);
        break;
    default:
        break;
    }
}


void MainDialog::_BuildMenuBar()
{
    _menuBar = new QMenuBar(GetWidget());
    int count = 0;
    const MainMenuEntry* entries = MainMenuDescription(&count);
    std::vector<QMenu*> open;
    for (int i = 0; i < count; ++i) {
        const MainMenuEntry& entry = entries[i];
        if (entry.id == kMenuOpen) {
            open.push_back(open.empty() ? _menuBar->addMenu(QString::fromUtf8(entry.text))
                                        : open.back()->addMenu(QString::fromUtf8(entry.text)));
        } else if (entry.id == kMenuClose) {
            open.pop_back();
        } else if (entry.id == kMenuSeparator) {
            open.back()->addSeparator();
        } else {
            const int id = entry.id;
            QAction* action = open.back()->addAction(QString::fromUtf8(entry.text));
            action->setEnabled(MainMenuCommandAvailable(id));
            QObject::connect(action, &QAction::triggered, action, [this, id] { Command(id); });
            _actions[id] = action;
        }
    }
}


void MainDialog::EnableControls() {}
void MainDialog::CmSettings() {}
void MainDialog::CmEditWithSonivex() {}
void MainDialog::CmAddCD() {}
void MainDialog::EvContextMenu() {}
void MainDialog::RefreshMenu() {}
bool MainDialog::IsMenuCommandEnabled(int id) const { return MainMenuCommandAvailable(id); }
void MainDialog::_DeckCommand(int /*id*/) {}
void MainDialog::_EffectCommand(DJDeckGUI& /*panel*/, int /*effect*/) {}
void MainDialog::_CrossfadeCommand(int /*id*/) {}
