#pragma once

#include "base/LProcessInterface.h"

#include <string>
#include <vector>

// A task interface that records each report it receives, in order, and answers IsToStop
// from `stop`.
class RecordingProcess : public LProcessInterfaceVoid {
public:
    bool stop = false;
    std::vector<std::string> calls;

    bool IsToStop() override { return stop; }
    void SetError(const char* m) override { calls.push_back(std::string("error ") + m); }
    void SetStatus(const char* t, int line) override
    {
        calls.push_back("status" + std::to_string(line) + " " + t);
    }
    void SetProgress(double f) override { calls.push_back("progress " + std::to_string(f)); }
    void SetProgressIndeterminateOn() override { calls.push_back("indeterminate on"); }
    void SetProgressIndeterminateOff() override { calls.push_back("indeterminate off"); }
};
