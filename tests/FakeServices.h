// Scriptable stand-ins for the store, line, diary, answer machine and
// compression seams: each call is logged in order and answers what the test
// set. Used to drive the main window's start-up and shutdown.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "core/AppData.h"
#include "core/StartupServices.h"
#include "platform/UserName.h"

// The profile section Navo uses for whoever runs the tests.
inline std::string logOnName()
{
    char name[256];
    DWORD size = sizeof name;
    return GetUserNameA(name, &size) ? name : "Default";
}

class FakeServices : public StoreService,
                     public LineService,
                     public DiaryService,
                     public AnswerMachineService,
                     public CompressionService {
public:
    StartupServices services() { return {this, this, this, this, this}; }

    std::vector<std::string> calls;

    int workspaceResult = 0;
    int buildResult = 0;
    int openResult = 0;
    int saveResult = 0;
    int infoResult = kNotAvailable;
    std::uint64_t infoSize = 0;
    std::uint64_t infoReclaimable = 0;
    int commandStoreState = kStoreHealthy;  // what Open/New store leave behind
    long modemChoice = -1;
    int diaryResult = 0;
    std::function<void()> onSave;  // runs inside save(), to look at the window then

    std::string builtFolder, builtName, builtWorkspace;
    bool chosen = false;
    long device = -1;
    int rings = -1;

    int workspace(AppData& app, int mode, const std::string& pattern) override
    {
        calls.push_back("workspace " + std::to_string(mode) + " " + pattern);
        if (mode == 1 && workspaceResult == 0)
            app.TempDir = "/tmp/fake-workspace";
        return workspaceResult;
    }
    int buildStore(const std::string& folder, const std::string& name, const std::string& ws) override
    {
        calls.push_back("build");
        builtFolder = folder;
        builtName = name;
        builtWorkspace = ws;
        return buildResult;
    }
    int openLastStore(AppData&) override
    {
        calls.push_back("open");
        return openResult;
    }
    void openStoreCommand(AppData& app, QWidget*) override
    {
        calls.push_back("open command");
        app.StoreUnusable = commandStoreState;
    }
    void newStoreCommand(AppData& app, QWidget*) override
    {
        calls.push_back("new command");
        app.StoreUnusable = commandStoreState;
    }
    int save(AppData&) override
    {
        calls.push_back("save");
        if (onSave)
            onSave();
        return saveResult;
    }
    void deleteWorkingCopies(AppData&) override { calls.push_back("delete working copies"); }
    int deleteRecords(AppData&, const std::vector<std::string>&) override { return 0; }
    int storeInfo(const std::string&, std::uint64_t& size, std::uint64_t& reclaimable) override
    {
        size = infoSize;
        reclaimable = infoReclaimable;
        return infoResult;
    }

    void initVar(AppData&) override { calls.push_back("line init"); }
    void chooseDevice(long id) override
    {
        chosen = true;
        device = id;
    }
    bool deviceChosen() const override { return chosen; }
    void setRings(int count) override { rings = count; }
    long selectModem(QWidget* owner) override
    {
        calls.push_back("select modem");
        if (duringModemSelection)
            duringModemSelection(owner);
        return modemChoice;
    }
    std::function<void(QWidget*)> duringModemSelection;
    void close(AppData& app) override
    {
        calls.push_back(app.DiaryMonitorRunning ? "line close (diary still running)" : "line close");
    }
    std::string statusText() const override { return "Line monitoring inactive"; }
    bool monitoring() const override { return lineMonitoring; }
    bool answerMachineOn() const override { return false; }
    bool callWaitingForUser() const override { return callWaiting; }
    void setMessagesWaiting(int count) override { messagesWaiting = count; }
    StartResult startMonitoring(QObject*) override
    {
        calls.push_back("start monitoring");
        if (startResult == StartResult::Started)
            lineMonitoring = true;
        return startResult;
    }
    void stopMonitoring() override
    {
        calls.push_back("stop monitoring");
        lineMonitoring = false;
    }
    bool modemSelectionCommand(QWidget*) override
    {
        calls.push_back("modem selection");
        if (modemChoice >= 0)
            chooseDevice(modemChoice);
        return chosen;
    }
    IncomingChoice runIncomingCall(QWidget*) override
    {
        calls.push_back("incoming call");
        return incomingChoice;
    }
    void forwardCallerId() override { calls.push_back("forward caller id"); }
    void callEnded() override { calls.push_back("line call ended"); }
    void placeCall(const std::string& name, const std::string& number) override
    {
        calls.push_back("place call " + name + " " + number);
    }
    void noRecorderForCall() override { calls.push_back("no recorder for call"); }
    void lineClosed(int reason) override
    {
        calls.push_back("line closed " + std::to_string(reason));
        lineMonitoring = false;
    }
    StartResult startResult = StartResult::Started;
    IncomingChoice incomingChoice = IncomingChoice::ToAnswerMachine;
    bool lineMonitoring = false;
    bool callWaiting = false;
    int messagesWaiting = -1;

    int check(AppData&) override
    {
        calls.push_back("diary check");
        return diaryResult;
    }
    void start(AppData&, std::uintptr_t) override { calls.push_back("diary start"); }

    // NotAvailable by default: the window's menus stay as start-up left them.
    Switch switchOn(AppData&, QObject*) override
    {
        calls.push_back("answer machine on");
        return switchOnResult;
    }
    Switch switchOff(AppData&) override
    {
        calls.push_back("answer machine off");
        return switchOffResult;
    }
    void forThisCall(AppData&, bool take) override
    {
        calls.push_back(take ? "machine takes this call" : "user takes this call");
    }
    void answerCall(AppData&) override { calls.push_back("answer call"); }
    void callConnected(AppData&) override { calls.push_back("call connected"); }
    int callEnded(AppData&) override
    {
        calls.push_back("call ended");
        return 0;
    }
    int useDictationAsGreeting(AppData&, const std::string& recordFileName) override
    {
        calls.push_back("greeting from " + recordFileName);
        return 0;
    }
    Switch switchOnResult = Switch::NotAvailable;
    Switch switchOffResult = Switch::NotAvailable;

    int runDialog(AppData&, QWidget*) override
    {
        calls.push_back("compression dialog");
        return 0;
    }
};
