// The Options logic against real INI files, and the dialog driven offscreen by
// control numbers.
#include <QComboBox>
#include <QCheckBox>
#include <QFile>
#include <QFontMetrics>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QSlider>
#include <QSpinBox>
#include <QTemporaryDir>
#include <QToolTip>
#include <gtest/gtest.h>
#include <string>
#include <vector>

#include "core/AppData.h"
#include "app/OptionsDialog.h"
#include "app/OptionsModel.h"
#include "core/ProfileValues.h"
#include "res/StringTable.h"

namespace {

// What start-up writes for a new profile: note "ExpPrompt" is "N" there.
const char* const kStartUpProfile =
    "[Tester]\nRings=3\nPhoneCost=0.00\nMeetCost=0.00\nPrime=N\nPhWarn=N\nExpPrompt=N\n"
    "Silence=5\nCompress=Y\nRecQual=0\nADiary=N\n";

class OptionsTest : public ::testing::Test {
protected:
    OptionsTest() : m_ini(m_dir.filePath("NAVO.ini").toStdString()), m_profile(m_ini, "Tester") {}

    void writeIni(const std::string& bytes)
    {
        QFile file(QString::fromStdString(m_ini));
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(bytes.data(), static_cast<qint64>(bytes.size()));
    }
    QByteArray rawIni() const
    {
        QFile file(QString::fromStdString(m_ini));
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }
    std::vector<std::string> iniLines() const
    {
        std::vector<std::string> lines;
        for (QByteArray line : rawIni().split('\n')) {
            line.replace("\r", "");
            if (!line.isEmpty())
                lines.push_back(line.toStdString());
        }
        return lines;
    }
    std::string value(const char* key) const { return m_profile.settings().read(key); }

    QTemporaryDir m_dir;
    std::string m_ini;
    ProfileValues m_profile;
    AppData m_app;
};

// --- The model -------------------------------------------------------------

TEST_F(OptionsTest, MissingValuesAreWrittenInStepOrderAndCostsShowEmpty)
{
    OptionsModel model(m_app, m_profile);
    const OptionsValues values = model.load();
    const std::vector<std::string> expected = {
        "[Tester]",     "PhoneCost=0.00", "MeetCost=0.00", "HighLight=N", "Prime=N",
        "PhWarn=N",     "ADiary=N",       "Silence=5",     "Rings=3",     "ExpPrompt=0",
        "Compress=Y",   "Currency=\xA3",  "RecQual=0"};
    EXPECT_EQ(iniLines(), expected);
    EXPECT_EQ(values.maxMessage, 180);
    EXPECT_EQ(values.phoneCost, "");
    EXPECT_EQ(values.meetCost, "");
    EXPECT_FALSE(values.exportPrompt);
    EXPECT_TRUE(values.compress);
    EXPECT_EQ(values.silence, 5);
    EXPECT_EQ(values.rings, 3);
    EXPECT_EQ(m_app.Currency, "\xA3");
}

TEST_F(OptionsTest, OkWritesEveryValueInOrder)
{
    writeIni(kStartUpProfile);
    OptionsModel model(m_app, m_profile);
    const OptionsValues before = model.load();
    OptionsValues after = before;
    after.silence = 12;
    after.rings = 7;
    after.quality = 3;
    after.maxMessage = 45;
    after.currency = "$";
    after.phoneCost = "";
    after.meetCost = std::string(60, '9');
    // Start from nothing so that every write appends and the file shows the order.
    ASSERT_TRUE(QFile::remove(QString::fromStdString(m_ini)));
    model.apply(before, after, true);

    const std::vector<std::string> expected = {
        "[Tester]", "PhoneCost=0.00", "MeetCost=" + std::string(49, '9'), "Silence=12",
        "Prime=N",  "PhWarn=N",       "Rings=7",                          "ExpPrompt=1",
        "ADiary=N", "Compress=Y",     "Currency=$",                       "HighLight=N",
        "RecQual=3", "MaxMessage=45"};
    EXPECT_EQ(iniLines(), expected);
    EXPECT_EQ(m_app.RecordingQuality, 3);
}

TEST_F(OptionsTest, CurrencyComesFromTheProfileAndIsCutAt200)
{
    writeIni("[Tester]\nCurrency=\x80\n");
    OptionsModel model(m_app, m_profile);
    const OptionsValues before = model.load();
    EXPECT_EQ(m_app.Currency, "\x80");
    OptionsValues after = before;
    after.currency = std::string(250, 'x');
    model.apply(before, after, false);
    EXPECT_EQ(m_app.Currency, std::string(200, 'x'));
}

// --- The dialog --------------------------------------------------------------

class OptionsDialogTest : public OptionsTest {
protected:
    // The dialog as the main window runs it: values in, values out, applied
    // by the caller once the dialog has closed.
    struct Session {
        Session(AppData& app, const ProfileValues& profile) : model(app, profile), before(model.load()), dialog(before) {}
        void close() { model.apply(before, dialog.values(), dialog.result() == QDialog::Accepted); }
        OptionsModel model;
        OptionsValues before;
        OptionsDialog dialog;
    };

    template <typename T>
    T* control(const OptionsDialog& dialog, int number)
    {
        return dialog.findChild<T*>(QString::number(number));
    }
};

TEST_F(OptionsDialogTest, FreshProfileShowsExportPromptCheckedAndOkStoresOne)
{
    writeIni(kStartUpProfile);
    Session session(m_app, m_profile);
    OptionsDialog& dialog = session.dialog;
    EXPECT_TRUE(control<QCheckBox>(dialog, 10159)->isChecked());
    EXPECT_TRUE(control<QRadioButton>(dialog, 10275)->isChecked());
    control<QLineEdit>(dialog, 10105)->clear();
    control<QLineEdit>(dialog, 10106)->setText("3.20");
    control<QPushButton>(dialog, 1)->click();
    session.close();
    EXPECT_EQ(dialog.result(), QDialog::Accepted);
    EXPECT_EQ(value("ExpPrompt"), "1");
    EXPECT_EQ(value("PhoneCost"), "0.00");
    EXPECT_EQ(value("MeetCost"), "3.20");
}

TEST_F(OptionsDialogTest, CheckBoxChangesAreKeptEvenOnCancel)
{
    writeIni(kStartUpProfile);
    Session session(m_app, m_profile);
    OptionsDialog& dialog = session.dialog;
    control<QCheckBox>(dialog, 10107)->click();
    control<QCheckBox>(dialog, 10115)->click();
    control<QCheckBox>(dialog, 10159)->click();
    control<QCheckBox>(dialog, 10221)->click();
    control<QCheckBox>(dialog, 10115)->click();  // the warning back off
    control<QSlider>(dialog, 10116)->setValue(20);
    control<QPushButton>(dialog, 2)->click();
    session.close();
    EXPECT_EQ(value("Prime"), "Y");
    EXPECT_EQ(value("Compress"), "N");
    EXPECT_EQ(value("PhWarn"), "N");
    EXPECT_EQ(m_app.PhoneWarning, 0);
    EXPECT_EQ(value("ExpPrompt"), "0");
    EXPECT_EQ(m_app.PromptOnExport, 0);
    EXPECT_EQ(value("Silence"), "5");  // only OK stores the rest
}

TEST_F(OptionsDialogTest, CancelWritesNothingButTheCurrencyStaysInUse)
{
    writeIni(std::string(kStartUpProfile) + "HighLight=N\nCurrency=\xA3\n");
    const QByteArray before = rawIni();
    Session session(m_app, m_profile);
    OptionsDialog& dialog = session.dialog;
    auto* currency = control<QComboBox>(dialog, 10256);
    EXPECT_EQ(currency->currentText(), QString::fromUtf8("\u00A3"));
    currency->setEditText(QString::fromUtf8("\u20AC/h"));
    EXPECT_EQ(dialog.values().currency, "\x80/h");
    currency->setCurrentIndex(1);
    EXPECT_EQ(dialog.values().currency, "$");
    control<QSlider>(dialog, 10116)->setValue(20);
    control<QSpinBox>(dialog, 10124)->setValue(9);
    control<QRadioButton>(dialog, 10277)->click();
    control<QPushButton>(dialog, 2)->click();
    session.close();

    EXPECT_EQ(dialog.result(), QDialog::Rejected);
    EXPECT_EQ(rawIni(), before);
    EXPECT_TRUE(rawIni().contains("Currency=\xA3\n"));
    EXPECT_EQ(m_app.Currency, "$");
    EXPECT_EQ(m_app.RecordingQuality, 0);
}

TEST_F(OptionsDialogTest, UnknownQualitySelectsNoRadioAndStaysOnOk)
{
    writeIni("[Tester]\nRecQual=7\n");
    Session session(m_app, m_profile);
    OptionsDialog& dialog = session.dialog;
    for (int number : {10275, 10276, 10277, 10278})
        EXPECT_FALSE(control<QRadioButton>(dialog, number)->isChecked()) << number;
    control<QPushButton>(dialog, 1)->click();
    session.close();
    EXPECT_EQ(m_app.RecordingQuality, 7);
    EXPECT_EQ(value("RecQual"), "7");
}

TEST_F(OptionsDialogTest, GarbageShowsClampedAndControlsFeedOk)
{
    writeIni("[Tester]\nSilence=abc\nRings=99\nMaxMessage=99999\n");
    Session session(m_app, m_profile);
    OptionsDialog& dialog = session.dialog;
    auto* longest = dialog.findChild<QSpinBox*>(QStringLiteral("maxMessageSpin"));
    ASSERT_NE(longest, nullptr);
    EXPECT_EQ(longest->value(), 3600);
    auto* slider = control<QSlider>(dialog, 10116);
    auto* secs = control<QLabel>(dialog, 10117);
    EXPECT_EQ(slider->value(), 2);
    EXPECT_EQ(secs->text(), "2");
    EXPECT_EQ(control<QLineEdit>(dialog, 10120)->text(), "10");

    slider->setValue(14);
    EXPECT_EQ(secs->text(), "14");
    control<QSpinBox>(dialog, 10124)->setValue(6);
    EXPECT_EQ(control<QLineEdit>(dialog, 10120)->text(), "6");
    control<QRadioButton>(dialog, 10278)->click();
    longest->setValue(0);  // the spin box stops at its lowest, one second
    longest->setValue(90);
    control<QPushButton>(dialog, 1)->click();
    EXPECT_EQ(value("Silence"), "abc");  // the dialog itself writes nothing
    session.close();
    EXPECT_EQ(value("Silence"), "14");
    EXPECT_EQ(value("Rings"), "6");
    EXPECT_EQ(value("RecQual"), "3");
    EXPECT_EQ(value("MaxMessage"), "90");
    EXPECT_EQ(m_app.RecordingQuality, 3);
}

TEST(OptionsToolTip, IsWrappedNarrowWithoutLosingAWord)
{
    const QString text = "Set recording quality to Navo Voice. 1 min of recording uses 1MB "
                         "disk space. Unbreakablewordwiderthanseventypixels ";
    const QStringList lines = OptionsDialog::wrapToolTip(text).split('\n');
    EXPECT_GT(lines.size(), 3);
    const QFontMetrics metrics(QToolTip::font());
    for (const QString& line : lines)
        EXPECT_TRUE(metrics.horizontalAdvance(line) <= OptionsDialog::kToolTipWidth ||
                    !line.contains(' '))
            << line.toStdString();
    EXPECT_EQ(lines.join(' '), text.simplified());
}

}  // namespace
