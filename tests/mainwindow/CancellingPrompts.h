#pragma once

#include "mainwindow/MainUserPrompts.h"

#include <string>
#include <vector>

// Prompts for tests: every question is cancelled (no, nothing chosen); tests override what
// they script. Alert is the one call each test must decide about.
class CancellingPrompts : public MainUserPrompts {
public:
    bool AskYesNo(const std::string&, const std::string&) override { return false; }
    std::vector<std::string> ChooseFiles(const std::string&, const std::string&, const std::string&) override
    {
        return {};
    }
    std::string ChooseFile(const std::string&, const std::string&, const std::string&) override { return ""; }
    std::string ChooseFolder(const std::string&, const std::string&, const std::string&) override { return ""; }
    std::string ChooseSaveFile(const std::string&, const std::string&, const std::string&,
                               const std::string&) override
    {
        return "";
    }
    int ChooseItem(const std::string&, const std::string&, const std::vector<std::string>&) override { return -1; }
};

// Cancels every question and keeps each alert as "title|text".
class AlertLog : public CancellingPrompts {
public:
    explicit AlertLog(std::vector<std::string>& alerts) : _alerts(alerts) {}
    void Alert(const std::string& title, const std::string& text) override { _alerts.push_back(title + "|" + text); }

private:
    std::vector<std::string>& _alerts;
};
