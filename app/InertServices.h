// Stand-ins for the parts of Navo that this build does not have yet. Each call
// traces what it skipped and answers kNotAvailable; nothing pretends to work.
// The line stand-in keeps the device and ring settings start-up gives it, so
// that the rest of start-up reads them back as the real line state would.
#pragma once

#include "core/StartupServices.h"

class InertServices : public LineService,
                      public DiaryService,
                      public AnswerMachineService,
                      public CompressionService {
public:
    // Every seam but the store, which is always built.
    StartupServices services();

    void initVar(AppData& app) override;
    void chooseDevice(long deviceId) override;
    bool deviceChosen() const override;
    void setRings(int rings) override;
    long selectModem(QWidget* owner) override;
    void close(AppData& app) override;
    std::string statusText() const override;
    bool monitoring() const override { return false; }
    bool answerMachineOn() const override { return false; }
    bool callWaitingForUser() const override { return false; }
    void setMessagesWaiting(int count) override { m_messagesWaiting = count; }
    StartResult startMonitoring(QObject* mainWindow) override;
    void stopMonitoring() override;
    bool modemSelectionCommand(QWidget* owner) override;
    IncomingChoice runIncomingCall(QWidget* owner) override;
    void forwardCallerId() override {}
    void callEnded() override {}

    int check(AppData& app) override;
    void start(AppData& app, std::uintptr_t mainWindow) override;

    Switch switchOn(AppData& app, QObject* mainWindow) override;
    Switch switchOff(AppData& app) override;
    void forThisCall(AppData&, bool) override {}
    void answerCall(AppData& app) override;
    void callConnected(AppData&) override {}
    int callEnded(AppData& app) override;
    int useDictationAsGreeting(AppData& app, const std::string& recordFileName) override;

    int runDialog(AppData& app, QWidget* owner) override;

    long deviceId() const { return m_deviceId; }
    int rings() const { return m_rings; }

private:
    bool m_deviceChosen = false;
    long m_deviceId = -1;
    int m_rings = 3;
    int m_messagesWaiting = 0;
};
