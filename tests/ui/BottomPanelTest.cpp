#include "FaderTestSupport.h"
#include "MouseEvents.h"
#include "ui/DJBottomPanel.h"
#include "ui/DJMainWindowLink.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

using namespace fadertest;

namespace {

constexpr int kPanelWidth = 700;
constexpr int kPanelHeight = 25;

using Calls = std::vector<std::string>;

struct ListMain : DJMainWindowLink {
    void CmAutoPlay() override { calls.push_back("autoplay"); }
    void SetRecording(bool on) override { calls.push_back(on ? "record on" : "record off"); }
    void CmBrowseLoadFiles() override { calls.push_back("add"); }
    void CmRemoveFile() override { calls.push_back("remove"); }
    void CmClearFiles() override { calls.push_back("clear"); }
    void CmExportFiles() override { calls.push_back("export"); }
    int GetListRowCount() const override { return rows; }
    bool HasListSelection() const override { return selected; }
    Calls calls;
    int rows = 0;
    bool selected = false;
};

class BottomPanel : public ::testing::Test {
protected:
    void SetUp() override
    {
        EnsureApplication();
        parent.CreateTopLevel("bottom", kPanelWidth, kPanelHeight);
        panel.Init(parent, main, 0, 0, kPanelWidth, kPanelHeight);
    }
    void TearDown() override { DrainRepaints(); }

    QWidget* Handle(int id) const { return panel.GetControlHandle(id); }
    bool Enabled(int id) const { return Handle(id)->isEnabled(); }
    void Press(int id) { SendMouse(Handle(id), QEvent::MouseButtonPress, 5, 5); }
    void Release(int id) { SendMouse(Handle(id), QEvent::MouseButtonRelease, 5, 5); }
    // The list changes as the main window would report it.
    void SetList(int rows, bool selected)
    {
        main.rows = rows;
        main.selected = selected;
        panel.Command(kBottomListSelectionChanged);
    }

    LWindow parent;
    ListMain main;
    DJBottomPanel panel;
};

// Remove needs a selected row; clear, auto play and export need a row; recording needs none.
TEST_F(BottomPanel, EnabledStatesFollowTheList)
{
    const struct {
        int rows;
        bool selected;
        bool add, remove, clear, autoPlay, recording, exportList;
    } cases[] = {
        {0, false, true, false, false, false, true, false},
        {3, false, true, false, true, true, true, true},
        {3, true, true, true, true, true, true, true},
        {0, false, true, false, false, false, true, false},
    };
    for (const auto& c : cases) {
        SetList(c.rows, c.selected);
        EXPECT_EQ(Enabled(kBottomAdd), c.add) << c.rows << c.selected;
        EXPECT_EQ(Enabled(kBottomRemove), c.remove) << c.rows << c.selected;
        EXPECT_EQ(Enabled(kBottomClear), c.clear) << c.rows << c.selected;
        EXPECT_EQ(Enabled(kBottomAutoPlay), c.autoPlay) << c.rows << c.selected;
        EXPECT_EQ(Enabled(kBottomRecording), c.recording) << c.rows << c.selected;
        EXPECT_EQ(Enabled(kBottomExport), c.exportList) << c.rows << c.selected;
        // A button the list cannot use draws lit.
        EXPECT_EQ(panel.IsButtonLit(kBottomRemove), !c.remove);
        EXPECT_EQ(panel.IsButtonLit(kBottomClear), !c.clear);
        EXPECT_FALSE(panel.IsButtonLit(kBottomAdd));
    }
}

TEST_F(BottomPanel, AddRemoveClearAndExportActAtTheRelease)
{
    SetList(4, true);
    const struct {
        int id;
        const char* call;
        bool (DJBottomPanel::*down)() const;
    } cases[] = {
        {kBottomAdd, "add", &DJBottomPanel::IsAddDown},
        {kBottomRemove, "remove", &DJBottomPanel::IsRemoveDown},
        {kBottomClear, "clear", &DJBottomPanel::IsClearDown},
        {kBottomExport, "export", &DJBottomPanel::IsExportDown},
    };
    for (const auto& c : cases) {
        main.calls.clear();
        Press(c.id);
        EXPECT_TRUE(main.calls.empty()) << c.call;
        EXPECT_TRUE((panel.*c.down)()) << c.call;
        EXPECT_TRUE(panel.IsButtonLit(c.id)) << c.call;
        // Released away from the button: it still acts.
        SendMouse(Handle(c.id), QEvent::MouseButtonRelease, 500, 40);
        EXPECT_EQ(main.calls, Calls{c.call});
        EXPECT_FALSE((panel.*c.down)()) << c.call;
        EXPECT_FALSE(panel.IsButtonLit(c.id)) << c.call;
    }
}

TEST_F(BottomPanel, DisabledButtonsDoNothing)
{
    SetList(0, false);
    for (int id : {kBottomRemove, kBottomClear, kBottomExport, kBottomAutoPlay}) {
        Press(id);
        Release(id);
    }
    EXPECT_TRUE(main.calls.empty());
    EXPECT_FALSE(panel.IsRemoveDown() || panel.IsClearDown() || panel.IsExportDown());
    Press(kBottomAdd);
    Release(kBottomAdd);
    EXPECT_EQ(main.calls, Calls{"add"});
}

// Auto play and recording ask the main window at the press; their look follows the mode the
// main window sets, not the press.
TEST_F(BottomPanel, AutoPlayAndRecordingFollowTheirModes)
{
    SetList(2, false);
    Press(kBottomAutoPlay);
    EXPECT_EQ(main.calls, Calls{"autoplay"});
    Release(kBottomAutoPlay);
    EXPECT_FALSE(panel.IsCoolButtonDown(kBottomAutoPlay));
    panel.SetAutoPlayMode(true);
    EXPECT_TRUE(panel.IsCoolButtonDown(kBottomAutoPlay));
    EXPECT_TRUE(panel.IsButtonLit(kBottomAutoPlay));
    Press(kBottomAutoPlay);
    Release(kBottomAutoPlay);
    EXPECT_TRUE(panel.IsCoolButtonDown(kBottomAutoPlay)) << "still on after a release";

    main.calls.clear();
    Press(kBottomRecording);
    Release(kBottomRecording);
    panel.SetRecordingMode(true);
    Press(kBottomRecording);
    Release(kBottomRecording);
    EXPECT_EQ(main.calls, (Calls{"record on", "record off"}));
    EXPECT_TRUE(panel.IsRecordingOn());
    EXPECT_TRUE(panel.IsCoolButtonDown(kBottomRecording));
    panel.SetRecordingMode(false);
    EXPECT_FALSE(panel.IsCoolButtonDown(kBottomRecording));
    EXPECT_FALSE(panel.IsButtonLit(kBottomRecording));
}

}  // namespace
