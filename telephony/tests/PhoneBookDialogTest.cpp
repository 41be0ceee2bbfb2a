// The phone book (dialog 129) offscreen over a real phone book file: its
// columns with the hidden offsets, type-ahead, the header sort, and the
// choice of an entry under each line state (WM_USER+155 with lParam 0 or 1
// to the owner, or codes 16 and 17), with the context menu's Dial following
// Monitoring and word 8.
#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QHeaderView>
#include <QLineEdit>
#include <QMenu>
#include <QPushButton>
#include <QTemporaryDir>
#include <QTreeView>

#include <memory>
#include <vector>

#include "ScriptedPrompt.h"
#include "core/AppData.h"
#include "maker/Ek7Tapi/Ek7Tapi.h"
#include "platform/WindowMessages.h"
#include "telephony/OutgoingCall.h"
#include "telephony/PhoneBook.h"
#include "telephony/PhoneBookDialog.h"

namespace {

// The owner window: keeps the lParam of each +155.
class Owner : public QObject {
public:
    bool event(QEvent* event) override
    {
        if (event->type() != WindowMessageEvent::eventType())
            return QObject::event(event);
        const auto* message = static_cast<WindowMessageEvent*>(event);
        if (message->message() == outgoingcall::kOutgoingCallMessage)
            asked.push_back(message->lParam());
        return true;
    }
    std::vector<LPARAM> asked;
};

class PhoneBookDialogTest : public ::testing::Test {
protected:
    PhoneBookDialogTest()
    {
        app.lineState = &line;
        for (const auto& [name, number] : {std::pair{"Brian Kernighan", "0113 496"}, {"Ada Lovelace", "0161 496"},
                                           {"brenda", "555"}})
            EXPECT_EQ(PhoneBook(path).add(name, number), 0);
    }
    std::unique_ptr<PhoneBookDialog> open()
    {
        auto dialog = std::make_unique<PhoneBookDialog>(app, path, handleOf(&owner));
        dialog->show();
        return dialog;
    }
    static QTreeView* list(QDialog& dialog) { return dialog.findChild<QTreeView*>(QStringLiteral("10110")); }
    static QString cell(QDialog& dialog, int row, int column)
    {
        return list(dialog)->model()->index(row, column).data().toString();
    }
    static QLineEdit* typed(QDialog& dialog) { return dialog.findChild<QLineEdit*>(QStringLiteral("10109")); }
    static QString selectedName(QDialog& dialog)
    {
        const QModelIndexList rows = list(dialog)->selectionModel()->selectedRows();
        return rows.size() == 1 ? rows[0].data().toString() : QString::number(rows.size()) + " selected";
    }
    void pressOk(QDialog& dialog)
    {
        dialog.findChild<QPushButton*>(QStringLiteral("1"))->click();
        QCoreApplication::processEvents();  // the posted +155
    }

    QTemporaryDir folder;
    const std::string path = folder.filePath(QStringLiteral("Telvarine.vxb")).toStdString();
    AppData app;
    LineState line{};
    Owner owner;
};

}  // namespace

TEST_F(PhoneBookDialogTest, ListsWithHiddenOffsetsFindsByTypingAndSortsByHeader)
{
    auto dialog = open();
    QTreeView* entries = list(*dialog);
    ASSERT_EQ(entries->model()->rowCount(), 3);
    EXPECT_EQ(entries->model()->headerData(0, Qt::Horizontal).toString(), "Name");
    EXPECT_EQ(entries->model()->headerData(1, Qt::Horizontal).toString(), "Number");
    EXPECT_EQ(entries->columnWidth(2), 0);
    EXPECT_EQ(cell(*dialog, 1, 0), "Ada Lovelace");
    EXPECT_EQ(cell(*dialog, 1, 2), "00000000000000000101");
    EXPECT_EQ(entries->palette().color(QPalette::Text), QColor(10, 20, 200));
    EXPECT_EQ(entries->palette().color(QPalette::Base), QColor(Qt::white));

    // The first name from the top that starts with the text, any case.
    typed(*dialog)->setText(QStringLiteral("br"));
    EXPECT_EQ(selectedName(*dialog), "Brian Kernighan");
    typed(*dialog)->setText(QStringLiteral("BRE"));
    EXPECT_EQ(selectedName(*dialog), "brenda");
    typed(*dialog)->setText(QStringLiteral("x"));  // no such name: the last find stays
    EXPECT_EQ(selectedName(*dialog), "brenda");
    typed(*dialog)->clear();
    EXPECT_EQ(selectedName(*dialog), "0 selected");

    // Sorted by name, the offsets go with their names; again, the other way.
    emit entries->header()->sectionClicked(0);
    EXPECT_EQ(cell(*dialog, 0, 0), "Ada Lovelace");
    EXPECT_EQ(cell(*dialog, 0, 2), "00000000000000000101");
    EXPECT_EQ(cell(*dialog, 1, 0), "brenda");
    emit entries->header()->sectionClicked(0);
    EXPECT_EQ(cell(*dialog, 2, 0), "Ada Lovelace");
    EXPECT_EQ(cell(*dialog, 0, 0), "Brian Kernighan");
    EXPECT_EQ(cell(*dialog, 0, 2), "00000000000000000000");
}

TEST_F(PhoneBookDialogTest, ChoosingAnEntryAsksForTheCallOnlyWhenTheLineCanPlaceIt)
{
    ScriptedPrompt prompt;
    {
        // Not monitoring: code 17, nothing asked; Dial greyed.
        auto dialog = open();
        typed(*dialog)->setText(QStringLiteral("ada"));
        EXPECT_FALSE(dialog->contextMenu()->findChild<QAction*>(QStringLiteral("2251"))->isEnabled());
        prompt.answerMessage(IDOK);
        pressOk(*dialog);
        EXPECT_EQ(dialog->result(), QDialog::Accepted);
        ASSERT_EQ(prompt.messages().size(), 1u);
        EXPECT_EQ(prompt.messages()[0].text.rfind("Line monitoring must be active", 0), 0u);
    }
    {
        // Monitoring, but the line cannot place a call now (word 8 is 0).
        line.Monitoring = 1;
        auto dialog = open();
        typed(*dialog)->setText(QStringLiteral("ada"));
        EXPECT_FALSE(dialog->contextMenu()->findChild<QAction*>(QStringLiteral("2251"))->isEnabled());
        line.DialReady = 1;
        EXPECT_TRUE(dialog->contextMenu()->findChild<QAction*>(QStringLiteral("2251"))->isEnabled());
        line.AnswerMachineOn = 1;  // code 16 comes first
        prompt.answerMessage(IDOK);
        pressOk(*dialog);
        ASSERT_EQ(prompt.messages().size(), 2u);
        EXPECT_EQ(prompt.messages()[1].text.rfind("The answer machine is currently active", 0), 0u);
        EXPECT_TRUE(owner.asked.empty());
    }
    {
        line.AnswerMachineOn = 0;
        auto dialog = open();
        typed(*dialog)->setText(QStringLiteral("ada"));
        pressOk(*dialog);
        EXPECT_EQ(owner.asked, (std::vector<LPARAM>{0}));
        EXPECT_EQ(app.ChosenName, "Ada Lovelace");
        EXPECT_EQ(app.ChosenNumber, "0161 496");
    }
    {
        // OK with nothing selected: the phone recorder with empty texts.
        auto dialog = open();
        pressOk(*dialog);
        EXPECT_EQ(owner.asked, (std::vector<LPARAM>{0, 1}));
    }
    EXPECT_EQ(prompt.messages().size(), 2u);
}
