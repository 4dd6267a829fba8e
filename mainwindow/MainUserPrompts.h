#pragma once

#include <memory>
#include <string>
#include <vector>

class QWidget;

// Everything the main window asks of the user in a modal box: alerts, a yes/no question and
// the file dialogs. The window holds one; the program's shows Qt dialogs over the window,
// tests put in one that answers from a script. Interface thread only.
class MainUserPrompts {
public:
    virtual ~MainUserPrompts() = default;

    // An alert under `title`; returns when the user has seen it.
    virtual void Alert(const std::string& title, const std::string& text) = 0;
    virtual bool AskYesNo(const std::string& title, const std::string& text) = 0;
    // Several files to open; empty when cancelled. `filter` in Qt's form
    // ("Audio Files (*.mp3 *.wav)").
    virtual std::vector<std::string> ChooseFiles(const std::string& title, const std::string& filter,
                                                 const std::string& startFolder) = 0;
    // One existing file to open; "" when cancelled.
    virtual std::string ChooseFile(const std::string& title, const std::string& filter,
                                   const std::string& startFolder) = 0;
    // A folder; "" when cancelled. `button` is the accepting button's text.
    virtual std::string ChooseFolder(const std::string& title, const std::string& button,
                                     const std::string& startFolder) = 0;
    // A file to write; "" when cancelled. `filters` in Qt's form, separated by ";;";
    // `defaultExtension` without the dot, added when the name has none.
    virtual std::string ChooseSaveFile(const std::string& title, const std::string& filters,
                                       const std::string& defaultExtension,
                                       const std::string& startFolder) = 0;
    // One of `choices` (-1 when cancelled).
    virtual int ChooseItem(const std::string& title, const std::string& label,
                           const std::vector<std::string>& choices) = 0;
};

// The dialogs of the program, over `parent`.
std::unique_ptr<MainUserPrompts> MakeMainUserPromptsQt(QWidget* parent);
