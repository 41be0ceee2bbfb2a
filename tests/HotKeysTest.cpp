// The playback hot keys: the table and its settings file, the hot key
// control's codes and rule, the Hot Keys dialog (values in, values out),
// and registration with a real X server (HotKeysX11.*: skipped offscreen,
// run again by the hotkeys_x11 test under Xvfb, where they must not skip).
//
// X11 cases prove what another program sees: xdotool presses keys as a
// second client, and a second copy of this executable (the "holder", started
// with NAVO_HOTKEY_HOLDER) grabs keys as yet another client.
#include <QAbstractButton>
#include <QApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QKeySequence>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>
#include <gtest/gtest.h>

#include <iostream>
#include <string>
#include <utility>
#include <vector>

#include "app/HotKeyCodes.h"
#include "app/HotKeyEdit.h"
#include "app/HotKeys.h"
#include "app/HotKeysDialog.h"
#include "platform/gui/GlobalHotKey.h"
#include "platform/Trace.h"
#include "platform/WindowMessages.h"

namespace {

// QSettings takes the user's configuration folder once per process, so it
// is set before main() runs.
QTemporaryDir& configHome()
{
    static QTemporaryDir dir;
    return dir;
}
[[maybe_unused]] const bool kConfigHomeSet = [] {
    qputenv("XDG_CONFIG_HOME", QFile::encodeName(configHome().path()));
    return true;
}();

QString confPath()
{
    return configHome().path() + QStringLiteral("/Orlent Systems/NAVO.conf");
}

QByteArray confText()
{
    QFile file(confPath());
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

std::vector<DWORD> loadedValues()
{
    HotKeys table;
    table.load();
    std::vector<DWORD> values;
    for (int i = 0; i < HotKeys::kCount; ++i)
        values.push_back(table.value(i));
    return values;
}

const std::vector<DWORD> kDefaults = {0x228, 0x226, 0x225, 0x221, 0x222, 0x227};

// Every test starts with nothing stored.
class HotKeyStorage : public ::testing::Test {
protected:
    void SetUp() override
    {
        QFile::remove(confPath());
        ASSERT_FALSE(QFile::exists(confPath()));
    }
    static void writeConf(const QByteArray& text)
    {
        QFile file(confPath());
        ASSERT_TRUE(QDir().mkpath(QFileInfo(confPath()).path()));
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(text);
    }
};

// --- The table and its storage ----------------------------------------------

// Nothing stored: Control with the arrow and paging keys, and loading writes
// nothing. A value that is not a 32-bit number keeps its default; a save
// writes all six under their names and a load reads them back.
TEST_F(HotKeyStorage, DefaultsBadValuesAndARoundTrip)
{
    EXPECT_EQ(loadedValues(), kDefaults);
    EXPECT_FALSE(QFile::exists(confPath())) << "loading must not write";

    writeConf("[General]\nHotKey01=garbage\nHotKey02=4294967296\nHotKey03=-1\nHotKey04=\n"
              "HotKey05=833\n");
    EXPECT_EQ(loadedValues(), (std::vector<DWORD>{0x228, 0x226, 0x225, 0x221, 833, 0x227}));

    HotKeys table;
    const std::vector<DWORD> chosen = {0x374, 0x241, 0x0, 0x67B, 0xFFFFFFFF, 0x227};
    for (int i = 0; i < HotKeys::kCount; ++i)
        table.setValue(i, chosen[static_cast<std::size_t>(i)]);
    table.save();
    const QByteArray text = confText();
    for (const char* line : {"HotKey01=884", "HotKey02=577", "HotKey03=0", "HotKey04=1659",
                             "HotKey05=4294967295", "HotKey06=551"})
        EXPECT_TRUE(text.contains(line)) << line << " missing in:\n" << text.toStdString();
    EXPECT_EQ(loadedValues(), chosen);
}

// --- The hot key control's codes and rule -----------------------------------

TEST(HotKeyControl, RuleGivesControlInsteadOfNoneShiftAltOrShiftAlt)
{
    const UINT refused = HKCOMB_NONE | HKCOMB_S | HKCOMB_A | HKCOMB_SA;
    const UINT S = HOTKEYF_SHIFT, C = HOTKEYF_CONTROL, A = HOTKEYF_ALT, E = HOTKEYF_EXT;
    const std::pair<UINT, UINT> cases[] = {
        {0, C},         {S, C},         {A, C},         {S | A, C},     {C, C},
        {S | C, S | C}, {C | A, C | A}, {S | C | A, S | C | A},         {E | S, E | C},
        {E | C | S, E | C | S},
    };
    for (const auto& [typed, expected] : cases)
        EXPECT_EQ(applyHotKeyRule(typed, refused, C), expected) << "typed flags " << typed;
}

TEST(HotKeyControl, EveryVirtualKeyShownByQtComesBackAsTheSameKey)
{
    int mapped = 0;
    for (UINT vk = 1; vk <= 0xFF; ++vk) {
        for (UINT extended : {0u, HOTKEYF_EXT}) {
            const ControlHotKey shown{vk, HOTKEYF_CONTROL | HOTKEYF_ALT | extended};
            const QKeyCombination key = keyCombinationOf(shown);
            if (key.key() == Qt::Key(0))
                continue;
            ++mapped;
            const ControlHotKey back = hotKeyFromKey(key);
            EXPECT_EQ(back.virtualKey, vk) << QKeySequence(key).toString().toStdString();
            EXPECT_EQ(back.modifiers & ~HOTKEYF_EXT, HOTKEYF_CONTROL | HOTKEYF_ALT);
        }
    }
    // Letters, digits, F1-F24, the keypad, paging, editing and punctuation.
    EXPECT_GT(mapped, 2 * 100);
}

// The extended flag tells dedicated keys from the keypad; shifted characters
// are their keys; modifiers alone and keys with no code are no key.
TEST(HotKeyControl, KeysTheirFlagsAndNoKey)
{
    const struct {
        QKeyCombination typed;
        ControlHotKey expected;
    } cases[] = {
        {QKeyCombination(Qt::ControlModifier, Qt::Key_Down), {VK_DOWN, HOTKEYF_CONTROL | HOTKEYF_EXT}},
        {QKeyCombination(Qt::ControlModifier | Qt::KeypadModifier, Qt::Key_Down), {VK_DOWN, HOTKEYF_CONTROL}},
        {QKeyCombination(Qt::KeypadModifier, Qt::Key_5), {VK_NUMPAD0 + 5, 0}},
        {QKeyCombination(Qt::KeypadModifier, Qt::Key_Enter), {VK_RETURN, HOTKEYF_EXT}},
        {QKeyCombination(Qt::Key_Return), {VK_RETURN, 0}},
        {QKeyCombination(Qt::ShiftModifier, Qt::Key_Exclam), {'1', HOTKEYF_SHIFT}},
        {QKeyCombination(Qt::ControlModifier | Qt::ShiftModifier, Qt::Key_Question),
         {VK_OEM_2, HOTKEYF_CONTROL | HOTKEYF_SHIFT}},
    };
    for (const auto& c : cases)
        EXPECT_EQ(hotKeyFromKey(c.typed), c.expected) << QKeySequence(c.typed).toString().toStdString();
    EXPECT_EQ(hotKeyFromKey(QKeyCombination(Qt::ControlModifier, Qt::Key_Control)).virtualKey, 0u);
    EXPECT_EQ(hotKeyFromKey(QKeyCombination(Qt::Key_VolumeUp)).virtualKey, 0u);
    EXPECT_EQ(keyCombinationOf(ControlHotKey{VK_DOWN, HOTKEYF_EXT}), QKeyCombination(Qt::Key_Down));
    EXPECT_EQ(keyCombinationOf(ControlHotKey{VK_DOWN, 0}), QKeyCombination(Qt::KeypadModifier, Qt::Key_Down));
}

// --- The dialog: values in, values out ----------------------------------------

class HotKeysDialogTest : public ::testing::Test {
protected:
    static HotKeyEdit* edit(QDialog& dialog, int number)
    {
        auto* control = dialog.findChild<HotKeyEdit*>(QString::number(number));
        EXPECT_NE(control, nullptr) << "no hot key control " << number;
        return control;
    }
    static void click(QDialog& dialog, int number)
    {
        auto* button = dialog.findChild<QAbstractButton*>(QString::number(number));
        ASSERT_NE(button, nullptr) << "no button " << number;
        button->click();
    }
    static void showActive(QDialog& dialog)
    {
        dialog.show();
        QApplication::setActiveWindow(&dialog);
        ASSERT_TRUE(QTest::qWaitForWindowActive(&dialog));
    }
    static HotKeyValues defaults() { return HotKeys().values(); }
};

TEST_F(HotKeysDialogTest, ShowsEachKeyAndGivesBackWhatItWasGiven)
{
    HotKeyValues given = defaults();
    given.keys[4] = 833;  // Shift + Control + A
    HotKeysDialog dialog(given);
    const char* const shown[] = {"Ctrl+Down", "Ctrl+Up", "Ctrl+Left", "Ctrl+PgUp", "Ctrl+Shift+A", "Ctrl+Right"};
    for (int i = 0; i < HotKeys::kCount; ++i) {
        HotKeyEdit* control = edit(dialog, 10310 + i);
        ASSERT_NE(control, nullptr);
        EXPECT_EQ(control->text().toStdString(), shown[i]);
    }
    EXPECT_EQ(edit(dialog, 10310)->hotKey(), (ControlHotKey{VK_DOWN, HOTKEYF_CONTROL | HOTKEYF_EXT}));
    // Untouched, the same values come back.
    EXPECT_EQ(dialog.values(), given);
}

TEST_F(HotKeysDialogTest, TypedKeysFollowTheRuleAndSaveAcceptsWithAllSix)
{
    HotKeysDialog dialog(defaults());
    showActive(dialog);
    QTest::keyClick(edit(dialog, 10310), Qt::Key_F5, Qt::ShiftModifier);
    EXPECT_EQ(edit(dialog, 10310)->text(), QStringLiteral("Ctrl+F5"));
    QTest::keyClick(edit(dialog, 10311), Qt::Key_F5, Qt::ControlModifier | Qt::ShiftModifier);
    EXPECT_EQ(edit(dialog, 10311)->text(), QStringLiteral("Ctrl+Shift+F5"));
    // Alt+S would be the Save button's mnemonic anywhere else.
    QTest::keyClick(edit(dialog, 10312), Qt::Key_S, Qt::AltModifier);
    EXPECT_EQ(edit(dialog, 10312)->text(), QStringLiteral("Ctrl+S"));
    EXPECT_TRUE(dialog.isVisible());
    QTest::keyClick(edit(dialog, 10313), Qt::Key_Backspace);
    EXPECT_EQ(edit(dialog, 10313)->text(), QStringLiteral("None"));

    click(dialog, 3);
    EXPECT_EQ(dialog.result(), QDialog::Accepted);
    // Untouched entries come back without the extended flag they were shown with.
    const HotKeyValues expected{{0x274, 0x374, 0x253, 0x000, 0x222, 0x227}};
    EXPECT_EQ(dialog.values(), expected);

    HotKeysDialog again(defaults());
    click(again, 2);
    EXPECT_EQ(again.result(), QDialog::Rejected);
}

// --- Registration without X11 -----------------------------------------------

TEST(HotKeyRegistration, BadArgumentsAreRefusedWithAReason)
{
    QObject window;
    const HWND handle = handleOf(&window);
    TraceCapture trace;
    EXPECT_EQ(RegisterHotKey(0, 1, MOD_CONTROL, VK_F5), FALSE);
    EXPECT_TRUE(trace.contains("no window"));
    EXPECT_EQ(RegisterHotKey(handle, 1, 0x10, VK_F5), FALSE);
    EXPECT_TRUE(trace.contains("unknown modifier bits 16"));
    EXPECT_EQ(RegisterHotKey(handle, 1, MOD_CONTROL, 0xFF), FALSE);
    EXPECT_TRUE(trace.contains("no key for virtual-key code 255"));
    EXPECT_EQ(UnregisterHotKey(handle, 1), FALSE);
}

TEST(HotKeyRegistration, WithoutX11TheFirstKeyIsRefusedAndNothingCrashes)
{
    if (QGuiApplication::platformName() == QLatin1String("xcb"))
        GTEST_SKIP() << "this is the no-X11 case; HotKeysX11 covers the X server";
    QObject window;
    TraceCapture trace;
    EXPECT_EQ(registerHotKeys(handleOf(&window)), 1);
    EXPECT_TRUE(trace.contains("no X11 display")) << trace.text();
    unregisterHotKeys(handleOf(&window));
}

// --- Registration with an X server ------------------------------------------

// Collects the WM_HOTKEY messages posted to it.
class HotKeyWindow : public QObject {
public:
    std::vector<std::pair<WPARAM, LPARAM>> received;

    bool event(QEvent* e) override
    {
        if (e->type() != WindowMessageEvent::eventType())
            return QObject::event(e);
        const auto* m = static_cast<WindowMessageEvent*>(e);
        if (m->message() == WM_HOTKEY)
            received.emplace_back(m->wParam(), m->lParam());
        return true;
    }
    std::vector<WPARAM> ids() const
    {
        std::vector<WPARAM> result;
        for (const auto& message : received)
            result.push_back(message.first);
        return result;
    }
    bool waitFor(std::size_t count)
    {
        return QTest::qWaitFor([&] { return received.size() >= count; }, 5000);
    }
};

// Presses keys as another X client would.
void pressKeys(const QStringList& keys)
{
    QProcess xdotool;
    xdotool.start(QStringLiteral("xdotool"), QStringList{QStringLiteral("key")} + keys);
    ASSERT_TRUE(xdotool.waitForFinished(10000)) << "xdotool did not run: " << xdotool.errorString().toStdString();
    ASSERT_EQ(xdotool.exitCode(), 0) << xdotool.readAllStandardError().toStdString();
}

const char* const kHolderVariable = "NAVO_HOTKEY_HOLDER";

// Another X client: a second copy of this executable that registers the given
// (modifiers, virtual key) pairs, says "held" or "refused <position>", and
// keeps what it holds until it is destroyed.
class Holder {
public:
    explicit Holder(const std::vector<std::pair<UINT, UINT>>& keys)
    {
        QStringList list;
        for (const auto& [modifiers, key] : keys)
            list << QStringLiteral("%1:%2").arg(modifiers).arg(key);
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(QString::fromLatin1(kHolderVariable), list.join(QLatin1Char(';')));
        m_process.setProcessEnvironment(environment);
        m_process.start(QCoreApplication::applicationFilePath(),
                        {QStringLiteral("--gtest_filter=HotKeyHolder.Hold")});
        QByteArray output;
        while (m_answer.isEmpty() && m_process.waitForReadyRead(10000)) {
            output += m_process.readAllStandardOutput();
            for (const QByteArray& line : output.split('\n'))
                if (line.startsWith("holder: "))
                    m_answer = QString::fromLatin1(line.mid(8)).trimmed();
        }
        if (m_answer.isEmpty())
            m_answer = QStringLiteral("no answer: ") + QString::fromLocal8Bit(output);
    }
    ~Holder()
    {
        m_process.closeWriteChannel();
        if (!m_process.waitForFinished(10000))
            m_process.kill();
        m_process.waitForFinished(1000);
    }
    Holder(const Holder&) = delete;
    Holder& operator=(const Holder&) = delete;

    std::string answer() const { return m_answer.toStdString(); }

private:
    QProcess m_process;
    QString m_answer;
};

const std::vector<std::pair<UINT, UINT>> kDefaultGrabs = {{MOD_CONTROL, VK_DOWN},  {MOD_CONTROL, VK_UP},
                                                          {MOD_CONTROL, VK_LEFT},  {MOD_CONTROL, VK_PRIOR},
                                                          {MOD_CONTROL, VK_NEXT},  {MOD_CONTROL, VK_RIGHT}};

// The holder's side, registered only in the copy started by Holder.
class HotKeyHolderRun : public ::testing::Test {
    void TestBody() override
    {
        QObject window;
        const HWND handle = handleOf(&window);
        const QStringList keys = qEnvironmentVariable(kHolderVariable).split(QLatin1Char(';'));
        int id = 0;
        for (const QString& key : keys) {
            ++id;
            const QStringList parts = key.split(QLatin1Char(':'));
            ASSERT_EQ(parts.size(), 2) << key.toStdString();
            if (!RegisterHotKey(handle, id, parts[0].toUInt(), parts[1].toUInt())) {
                std::cout << "holder: refused " << id << std::endl;
                for (int i = 1; i < id; ++i)
                    UnregisterHotKey(handle, i);
                return;
            }
        }
        std::cout << "holder: held" << std::endl;
        std::string line;
        while (std::getline(std::cin, line)) {
        }
        for (int i = 1; i <= id; ++i)
            UnregisterHotKey(handle, i);
    }
};
[[maybe_unused]] const bool kHolderRegistered = [] {
    if (qEnvironmentVariableIsEmpty(kHolderVariable))
        return false;
    ::testing::RegisterTest("HotKeyHolder", "Hold", nullptr, nullptr, __FILE__, __LINE__,
                            []() -> ::testing::Test* { return new HotKeyHolderRun; });
    return true;
}();

class HotKeysX11 : public HotKeyStorage {
protected:
    void SetUp() override
    {
        const QString platform = QGuiApplication::platformName();
        if (platform != QLatin1String("xcb")) {
            if (qEnvironmentVariable("NAVO_EXPECT_X11") == QLatin1String("1"))
                FAIL() << "expected to run on an X display, but the platform is " << platform.toStdString();
            GTEST_SKIP() << "needs an X display; the hotkeys_x11 test runs these under Xvfb";
        }
        HotKeyStorage::SetUp();
    }
    void TearDown() override { unregisterHotKeys(handleOf(&m_window)); }

    HotKeyWindow m_window;
};

TEST_F(HotKeysX11, DefaultsAreGrabbedWithControlOnlyWhateverTheLockKeys)
{
    ASSERT_EQ(registerHotKeys(handleOf(&m_window)), 0);
    // Wrong modifiers first: had they been grabbed, their messages would
    // arrive before the six.
    pressKeys({"ctrl+alt+Down", "ctrl+shift+Up", "Left", "ctrl+Down", "ctrl+Up", "ctrl+Left", "ctrl+Page_Up",
               "ctrl+Page_Down", "ctrl+Right"});
    ASSERT_TRUE(m_window.waitFor(6)) << m_window.received.size() << " hot keys arrived";
    const std::vector<WPARAM> six = {10310, 10311, 10312, 10313, 10314, 10315};
    EXPECT_EQ(m_window.ids(), six);
    EXPECT_EQ(m_window.received[0].second, static_cast<LPARAM>((VK_DOWN << 16) | MOD_CONTROL));

    pressKeys({"Num_Lock", "ctrl+Down", "Caps_Lock", "ctrl+Up", "Num_Lock", "ctrl+Left", "Caps_Lock"});
    ASSERT_TRUE(m_window.waitFor(9)) << "a lock key hid a hot key";
    const std::vector<WPARAM> nine = {10310, 10311, 10312, 10313, 10314, 10315, 10310, 10311, 10312};
    EXPECT_EQ(m_window.ids(), nine);
}

TEST_F(HotKeysX11, ControlShiftChosenInTheDialogIsGrabbedAsControlAlt)
{
    {
        HotKeysDialog dialog(HotKeys().values());
        auto* rewind = dialog.findChild<HotKeyEdit*>(QStringLiteral("10310"));
        auto* rewind2 = dialog.findChild<HotKeyEdit*>(QStringLiteral("10311"));
        auto* save = dialog.findChild<QAbstractButton*>(QStringLiteral("3"));
        ASSERT_TRUE(rewind && rewind2 && save);
        QTest::keyClick(rewind, Qt::Key_F5, Qt::ControlModifier | Qt::ShiftModifier);
        QTest::keyClick(rewind2, Qt::Key_P, Qt::ControlModifier | Qt::ShiftModifier);
        save->click();
        HotKeys table;
        table.setValues(dialog.values());
        table.save();
    }
    ASSERT_EQ(loadedValues()[0], 0x374u);
    ASSERT_EQ(registerHotKeys(handleOf(&m_window)), 0);

    // The server answers for the grabs; it keeps Ctrl+Alt+F-keys pressed for
    // switching consoles, so presses are proved with the letter.
    EXPECT_EQ(Holder({{MOD_CONTROL | MOD_SHIFT, VK_F5}, {MOD_CONTROL | MOD_ALT, VK_F5}}).answer(), "refused 2");

    pressKeys({"ctrl+shift+p", "ctrl+Left"});
    ASSERT_TRUE(m_window.waitFor(1));
    EXPECT_EQ(m_window.received[0].first, 10312u) << "Ctrl+Shift+P was grabbed";

    pressKeys({"ctrl+alt+p"});
    ASSERT_TRUE(m_window.waitFor(2)) << "Ctrl+Alt+P was not grabbed";
    EXPECT_EQ(m_window.received[1].first, 10311u);
    EXPECT_EQ(m_window.received[1].second, static_cast<LPARAM>(('P' << 16) | MOD_ALT | MOD_CONTROL));
}

TEST_F(HotKeysX11, AFourthKeyTakenByAnotherProgramLeavesNoHotKeyRegistered)
{
    {
        Holder other({{MOD_CONTROL, VK_PRIOR}});
        ASSERT_EQ(other.answer(), "held");
        TraceCapture trace;
        EXPECT_EQ(registerHotKeys(handleOf(&m_window)), 4);
        EXPECT_TRUE(trace.contains("taken by another program")) << trace.text();
    }
    // With the other program gone, all six must be free: the first three
    // were given back.
    Holder all(kDefaultGrabs);
    EXPECT_EQ(all.answer(), "held");
    EXPECT_EQ(registerHotKeys(handleOf(&m_window)), 1);
}

TEST_F(HotKeysX11, KeysAreOursUntilUnregistered)
{
    const HWND handle = handleOf(&m_window);
    ASSERT_EQ(registerHotKeys(handle), 0);
    EXPECT_EQ(Holder({{MOD_CONTROL, VK_F12}, {MOD_CONTROL, VK_RIGHT}}).answer(), "refused 2");

    // Within one program a combination is one hot key, as on Windows.
    HotKeyWindow other;
    EXPECT_EQ(RegisterHotKey(handleOf(&other), 1, MOD_CONTROL, VK_RIGHT), FALSE);
    EXPECT_EQ(UnregisterHotKey(handleOf(&other), 10315), FALSE);

    EXPECT_EQ(UnregisterHotKey(handle, 10315), TRUE);
    EXPECT_EQ(UnregisterHotKey(handle, 10315), FALSE);
    EXPECT_EQ(RegisterHotKey(handleOf(&other), 1, MOD_CONTROL, VK_RIGHT), TRUE);
    EXPECT_EQ(UnregisterHotKey(handleOf(&other), 1), TRUE);

    unregisterHotKeys(handle);
    EXPECT_EQ(Holder(kDefaultGrabs).answer(), "held");
}

}  // namespace
