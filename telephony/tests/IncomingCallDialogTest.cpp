// The incoming-call window (118) offscreen, on a line state block of its own:
// caller texts now and on WM_USER+12, the two buttons and the frame, the
// ring.
#include <gtest/gtest.h>

#include <QLabel>
#include <QPushButton>
#include <QTimer>

#include <cstring>

#include "LineTestSupport.h"
#include "platform/Trace.h"
#include "platform/WindowMessages.h"
#include "telephony/IncomingCallDialog.h"

namespace {

class IncomingCallDialogTest : public ::testing::Test {
protected:
    IncomingCallDialogTest() { line.CallState = 1; }

    QString label(QDialog& dialog, const char* number)
    {
        return dialog.findChild<QLabel*>(QString::fromLatin1(number))->text();
    }

    LineState line{};
    ProgramResources resources{QString::fromStdString(TestLineSetup::soundsFolder())};
};

TEST_F(IncomingCallDialogTest, ShowsTheCallerWhenIdentifiedAndAgainOnRefresh)
{
    line.CallerIdValid = 1;
    std::strcpy(line.CallerNumber, "0161 496 0000");
    std::strcpy(line.CallerName, "Zo\xEB Smith");  // Windows-1252
    IncomingCallDialog dialog(&line, resources);
    EXPECT_EQ(label(dialog, "10037"), QStringLiteral("0161 496 0000"));
    EXPECT_EQ(label(dialog, "10039"), QString::fromUtf8("Zo\u00EB Smith"));

    std::strcpy(line.CallerNumber, "0113 496 0999");
    std::strcpy(line.CallerName, "Second Name");
    PostMessage(handleOf(&dialog), IncomingCallDialog::kRefreshCaller, 0, 0);
    MessageLog::pump(30);
    EXPECT_EQ(label(dialog, "10037"), QStringLiteral("0113 496 0999"));
    EXPECT_EQ(label(dialog, "10039"), QStringLiteral("Second Name"));
}

TEST_F(IncomingCallDialogTest, WithoutIdentificationTheTextsStayEmpty)
{
    std::strcpy(line.CallerNumber, "stale");
    IncomingCallDialog dialog(&line, resources);
    EXPECT_TRUE(label(dialog, "10037").isEmpty());
    EXPECT_TRUE(label(dialog, "10039").isEmpty());
}

TEST_F(IncomingCallDialogTest, AnswerPicksTheCallUpAndStopsTheRing)
{
    IncomingCallDialog dialog(&line, resources);
    // Greyed until a phone recorder can take the call: a call picked up into
    // nothing would be answered into silence.
    QPushButton* answer = dialog.findChild<QPushButton*>(QStringLiteral("1"));
    EXPECT_FALSE(answer->isEnabled());
    answer->click();
    EXPECT_FALSE(dialog.pickedUp());
    dialog.setCanPickUp(true);
    EXPECT_TRUE(answer->isEnabled());
#ifdef NAVO_TEST_HAS_RING
    EXPECT_TRUE(dialog.ring().isPlaying());
#endif
    QTimer::singleShot(0, &dialog, [&] { dialog.findChild<QPushButton*>(QStringLiteral("1"))->click(); });
    EXPECT_EQ(dialog.exec(), IDOK);
    EXPECT_TRUE(dialog.pickedUp());
    EXPECT_EQ(line.CallAnsweredByUser, 1);
    EXPECT_FALSE(dialog.ring().isPlaying());
}

TEST_F(IncomingCallDialogTest, ClosingByTheFrameIsNotAChoice)
{
    IncomingCallDialog dialog(&line, resources);
    QTimer::singleShot(0, &dialog, [&] { dialog.close(); });
    EXPECT_EQ(dialog.exec(), IDCANCEL);
    EXPECT_FALSE(dialog.pickedUp());
    EXPECT_EQ(line.CallAnsweredByUser, 0);
    EXPECT_FALSE(dialog.ring().isPlaying());
}

}  // namespace
