// Meeting agendas in the store's counter component, and the templates' and
// agendas' export and import: merged from another real store, kept across a
// reopen, and bad input or a refusing store leaving everything as it was.
#include <gtest/gtest.h>

#include "FaultVfs.h"
#include "StoreFixture.h"
#include "maker/ek7vxrps/ek7vxrps.h"
#include "store/ComponentExchange.h"
#include "store/ComponentFiles.h"
#include "store/DataStore.h"
#include "store/MeetingAgendas.h"
#include "store/RecordTemplates.h"

namespace {

RecordTemplate templateOf(const std::string& name, const std::string& subject)
{
    RecordTemplate t;
    t.name = name;
    t.listType = kListMeeting;
    t.subject = subject;
    t.keywords = "weekly";
    t.comments = "Bring the minutes";
    return t;
}

class ComponentExchangeTest : public OpenStoreFixture {
protected:
    AppData other;
    DataStore otherStore;

    std::string ws(const char* name) const { return components::workspacePath(app.TempDir, name); }
    std::string member(const std::string& store, const char* name)
    {
        const std::string folder = root() + "/member";
        std::filesystem::remove_all(folder);
        std::filesystem::create_directories(folder);
        EXPECT_EQ(ExtractFile(store.c_str(), name, folder.c_str()), 0) << name;
        return readAll(folder + "/" + name);
    }

    // A second store, "Other.vxt", open in its own workspace.
    void buildOther()
    {
        copyPaths(other, app);
        other.DataStoreName = "Other";
        other.TempDir = root() + "/other-ws";
        std::filesystem::create_directories(other.TempDir);
        ASSERT_EQ(VXfilebuild(other.ProfileDir.c_str(), "Other", other.TempDir.c_str()), 0);
        other.DataStorePath = other.ProfileDir + "/Other.vxt";
        ASSERT_EQ(otherStore.extract(other), 0);
    }

    // Closes the open store and opens it again from its file alone.
    void reopen()
    {
        ASSERT_EQ(store.save(app), 0);
        workspace::Workspace(app, workspace::kClear, "*.*");
        ASSERT_EQ(store.extract(app), 0);
    }
};

}  // namespace

TEST_F(ComponentExchangeTest, AgendasLiveAfterTheCounterAndComeBackAfterAReopen)
{
    // A new store's component is the bare counter: no agendas.
    EXPECT_EQ(readAll(ws(components::kCounterA)), components::kCounterSeed);
    MeetingAgendaBook book(app);
    EXPECT_TRUE(book.agendas().empty());
    EXPECT_EQ(book.create("Board meeting"), "");
    EXPECT_EQ(book.setItems(0, {"Minutes of last meeting", "", "  Budget  ", "Any other\nbusiness",
                                std::string(60, 'x')}),
              "");
    EXPECT_EQ(book.create("Stand up"), "");
    EXPECT_NE(book.create("Stand up"), "");  // taken
    EXPECT_NE(book.rename(1, ""), "");
    EXPECT_EQ(book.rename(1, "Daily stand up"), "");
    EXPECT_EQ(book.create("Gone"), "");
    EXPECT_EQ(book.remove(2), "");

    // In the store file at once, after the nine characters left as they were.
    const std::string stored = member(app.DataStorePath, components::kCounterA);
    EXPECT_EQ(stored.substr(0, 10), std::string(components::kCounterSeed) + "\n");
    reopen();
    const std::vector<MeetingAgenda> back = meetingagendas::load(app);
    ASSERT_EQ(back.size(), 2u);
    EXPECT_EQ(back[0].name, "Board meeting");
    EXPECT_EQ(back[0].items, (std::vector<std::string>{"Minutes of last meeting", "Budget", "Any other business",
                                                        std::string(meetingagendas::kItemMax, 'x')}));
    EXPECT_EQ(back[1].name, "Daily stand up");
    EXPECT_TRUE(back[1].items.empty());

    // Deleting the last agenda gives the bare counter back.
    MeetingAgendaBook again(app);
    EXPECT_EQ(again.remove(0), "");
    EXPECT_EQ(again.remove(0), "");
    EXPECT_EQ(member(app.DataStorePath, components::kCounterA), components::kCounterSeed);
}

TEST_F(ComponentExchangeTest, TemplatesAndAgendasMergeFromAnotherStoreOnceAndSurviveAReopen)
{
    ASSERT_EQ(recordtemplates::save(app, {templateOf("Weekly", "Team"), templateOf("Review", "Code")}), 0);
    ASSERT_EQ(meetingagendas::save(app, {MeetingAgenda{"Board", {"Minutes", "Budget"}}}), 0);
    buildOther();
    ASSERT_EQ(recordtemplates::save(other, {templateOf("Weekly", "Team"), templateOf("Review", "Design"),
                                            templateOf("Retro", "Sprint")}),
              0);
    ASSERT_EQ(meetingagendas::save(other, {MeetingAgenda{"Board", {"Minutes", "Budget"}},
                                           MeetingAgenda{"Board", {"Hiring"}},
                                           MeetingAgenda{"Kick off", {"Scope", "Dates"}}}),
              0);
    ASSERT_EQ(otherStore.save(other), 0);

    MergeReport report;
    std::string error;
    ASSERT_EQ(componentexchange::importTemplatesFromStore(app, other.DataStorePath, &report, &error), 0) << error;
    EXPECT_EQ(report.added, 2);
    EXPECT_EQ(report.skipped, 1);
    EXPECT_EQ(report.renamed, 1);
    ASSERT_EQ(componentexchange::importAgendasFromStore(app, other.DataStorePath, &report, &error), 0) << error;
    EXPECT_EQ(report.added, 2);
    EXPECT_EQ(report.skipped, 1);
    EXPECT_EQ(componentexchange::reportText(report),
              "2 added, 1 already here and skipped.\n1 added under a new name, as theirs was already in use.");

    reopen();
    const std::vector<RecordTemplate> templates = recordtemplates::load(app);
    ASSERT_EQ(templates.size(), 4u);
    EXPECT_EQ(templates[2], templateOf("Review (2)", "Design"));
    EXPECT_EQ(templates[3], templateOf("Retro", "Sprint"));
    const std::vector<MeetingAgenda> agendas = meetingagendas::load(app);
    ASSERT_EQ(agendas.size(), 3u);
    EXPECT_EQ(agendas[1], (MeetingAgenda{"Board (2)", {"Hiring"}}));
    EXPECT_EQ(agendas[2], (MeetingAgenda{"Kick off", {"Scope", "Dates"}}));

    // Exported and imported again, from the file or the store: nothing new,
    // also for what came in under a new name.
    const std::string exported = root() + "/agendas.vxa";
    ASSERT_TRUE(componentexchange::exportComponent(app, components::kCounterA, exported, &error)) << error;
    EXPECT_EQ(readAll(exported), readAll(ws(components::kCounterA)));
    ASSERT_EQ(componentexchange::importAgendasFromFile(app, exported, &report, &error), 0) << error;
    EXPECT_EQ(report.added, 0);
    EXPECT_EQ(report.skipped, 3);
    ASSERT_EQ(componentexchange::importTemplatesFromStore(app, other.DataStorePath, &report, &error), 0);
    EXPECT_EQ(report.added, 0);
    EXPECT_EQ(meetingagendas::load(app).size(), 3u);
}

TEST_F(ComponentExchangeTest, BadInputIsRefusedWithItsNameAndReasonAndChangesNothing)
{
    ASSERT_EQ(recordtemplates::save(app, {templateOf("Weekly", "Team")}), 0);
    ASSERT_EQ(meetingagendas::save(app, {MeetingAgenda{"Board", {"Minutes"}}}), 0);
    const std::string templatesBefore = member(app.DataStorePath, components::kTemplates);
    const std::string agendasBefore = member(app.DataStorePath, components::kCounterA);
    const auto unchanged = [&] {
        EXPECT_EQ(member(app.DataStorePath, components::kTemplates), templatesBefore);
        EXPECT_EQ(readAll(ws(components::kTemplates)), templatesBefore);
        EXPECT_EQ(member(app.DataStorePath, components::kCounterA), agendasBefore);
        EXPECT_EQ(readAll(ws(components::kCounterA)), agendasBefore);
    };
    MergeReport report;
    std::string error;

    // Each bad source, refused with its name and reason.
    namespace cx = componentexchange;
    using Import = int (*)(const AppData&, const std::string&, MergeReport*, std::string*);
    const std::string badTemplates = root() + "/bad.vxc";
    writeAll(badTemplates, recordtemplates::lineOf(templateOf("Fine", "ok")) + "hello there\n");
    const std::string noCounter = root() + "/nocounter.vxa";
    writeAll(noCounter, "Board Minutes\n");
    const std::string badAgendas = root() + "/bad.vxa";
    writeAll(badAgendas, "999999999\nNew Item\nBroken  double space\n");
    const std::string notAStore = root() + "/notes.vxt";
    writeAll(notAStore, "just some notes, not a data store");
    buildOther();
    const char* templates[] = {components::kTemplates};
    ASSERT_EQ(RPS_Delete(other.DataStorePath.c_str(), templates, 1), 0);
    const struct {
        Import import;
        std::string source;
        int code;
        std::string reason;
    } cases[] = {
        {cx::importTemplatesFromFile, badTemplates, cx::kBadSource, "line 2 is not a record template"},
        {cx::importAgendasFromFile, noCounter, cx::kBadSource, "it does not begin with the agendas' nine-digit counter"},
        {cx::importAgendasFromFile, badAgendas, cx::kBadSource, "line 3 is not a meeting agenda"},
        {cx::importTemplatesFromFile, root() + "/none.vxc", cx::kBadSource, "there is no such file"},
        {cx::importAgendasFromStore, notAStore, cx::kBadSource, "not a data store (not a database)"},
        {cx::importTemplatesFromStore, other.DataStorePath, cx::kNoMember, "the data store has no Telvarine.vxc"},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(c.import(app, c.source, &report, &error), c.code) << c.source;
        EXPECT_EQ(error, c.source + ": " + c.reason);
    }
    unchanged();

    // Good input, but this store refuses the write: the working copy is put
    // back, so the store and the workspace still agree.
    const std::string good = root() + "/good.vxc";
    writeAll(good, recordtemplates::lineOf(templateOf("New one", "x")));
    {
        faultvfs::Plan plan;
        plan.failWriteAt = 1;  // every write to the store file fails
        plan.sticky = true;
        faultvfs::UseFaultVfs faults(plan);
        EXPECT_EQ(componentexchange::importTemplatesFromFile(app, good, &report, &error),
                  componentexchange::kNotWritten);
    }
    EXPECT_EQ(error, app.DataStorePath + ": the templates could not be saved into this data store");
    unchanged();
}
