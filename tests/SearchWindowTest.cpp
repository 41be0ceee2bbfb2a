// The Search window over a real store filed through the real procedure, and
// list printing read back from a real PDF: typing waits for the pause and
// then shows the matches in the record list's columns; the record menu
// deletes from the results; every row of a list reaches the paper.
#include <QAction>
#include <QCheckBox>
#include <QDateEdit>
#include <QLineEdit>
#include <QMenu>
#include <QPdfWriter>
#include <QProcess>
#include <QStandardPaths>
#include <QTest>
#include <gtest/gtest.h>

#include "ScriptedPrompt.h"
#include "StoreWindowFixture.h"
#include "app/ListPrinter.h"
#include "app/ListPrinting.h"
#include "app/RecordListModel.h"
#include "app/SearchDialog.h"
#include "store/IndexLine.h"

namespace {

// The text of a PDF, as a reader would copy it.
QString pdfText(const QString& pdf)
{
    const QString tool = QStandardPaths::findExecutable(QStringLiteral("pdftotext"));
    EXPECT_FALSE(tool.isEmpty()) << "pdftotext (poppler-utils) is needed";
    QProcess process;
    process.start(tool, {QStringLiteral("-layout"), pdf, QStringLiteral("-")});
    EXPECT_TRUE(process.waitForFinished(20000));
    return QString::fromUtf8(process.readAllStandardOutput());
}

class SearchWindowTest : public StoreWindowTest {
protected:
    static QStringList column(const SearchDialog& dialog, int column)
    {
        QStringList cells;
        for (int row = 0; row < dialog.model()->rowCount(); ++row)
            cells << dialog.model()->index(row, column).data().toString();
        return cells;
    }
};

}  // namespace

TEST_F(SearchWindowTest, TypingFindsAfterThePauseNarrowsAndDeletesFromTheResults)
{
    records->dictation("Quarterly planning", 2, "budget lease");
    records->dictation("Holiday rota");
    const long caller = records->phoneCall("Marguerite Okafor", "0161 496 0000");
    records->message("Desmond Hale", "07700 900123", true);

    struct ChosenForPlay : PlayerService {
        std::vector<std::string> recIds;
        int index = -1;
        int play(AppData&, const std::vector<std::string>& ids, int at, QWidget*) override
        {
            recIds = ids;
            index = at;
            return 0;
        }
    } player;
    struct ChosenForSend : MailService {
        std::vector<std::string> files;
        int sendRecords(AppData&, const std::vector<std::string>& names, QWidget*) override
        {
            files = names;
            return 0;
        }
    } mail;
    struct ChosenForExport : ExportService {
        int kind = 0;
        std::vector<std::string> recIds;
        int exportRecords(AppData&, int k, const std::vector<std::string>& ids, QWidget*) override
        {
            kind = k;
            recIds = ids;
            return 1;
        }
    } exporter;
    SearchDialog dialog(app, &store, window.get(), &player);
    dialog.addSendAndExport(&mail, &exporter);
    dialog.finishPending();
    EXPECT_EQ(dialog.model()->rowCount(), 4);  // no words: everything, newest first

    // Typing only restarts the pause; the query runs when it ends.
    auto* words = dialog.findChild<QLineEdit*>(QStringLiteral("words"));
    const int runs = dialog.searchesRun();
    QTest::keyClicks(words, "quart");
    EXPECT_EQ(dialog.searchesRun(), runs);
    dialog.searchNow();
    dialog.finishPending();
    EXPECT_EQ(dialog.searchesRun(), runs + 1);
    ASSERT_EQ(dialog.model()->rowCount(), 1);
    EXPECT_EQ(dialog.model()->index(0, 1).data().toString(), "Quarterly planning");
    // The list's colours: quality 2 is drawn green.
    EXPECT_EQ(dialog.model()->index(0, 0).data(Qt::ForegroundRole).value<QColor>(), RecordListModel::qualityColour(2));

    // A caller's name, with only Phone ticked: the Phone list's columns.
    words->setText(QStringLiteral("okafor"));
    for (const char* type : {"typeDictation", "typeVideo", "typeMeeting", "typeTranslate", "typeDiary"})
        dialog.findChild<QCheckBox*>(QString::fromLatin1(type))->setChecked(false);
    dialog.searchNow();
    dialog.finishPending();
    ASSERT_EQ(dialog.model()->rowCount(), 1);
    EXPECT_EQ(dialog.model()->headerData(2, Qt::Horizontal, Qt::DisplayRole).toString(), "Name");
    EXPECT_EQ(column(dialog, 2), QStringList{"Marguerite Okafor"});

    // A date range that leaves it out.
    auto* useTo = dialog.findChild<QCheckBox*>(QStringLiteral("useTo"));
    useTo->setChecked(true);
    dialog.findChild<QDateEdit*>(QStringLiteral("to"))->setDate(QDate(2000, 1, 1));
    dialog.searchNow();
    dialog.finishPending();
    EXPECT_EQ(dialog.model()->rowCount(), 0);
    useTo->setChecked(false);
    dialog.searchNow();
    dialog.finishPending();
    ASSERT_EQ(dialog.model()->rowCount(), 1);

    // The record menu on a result: Play, Send, the exports, Delete and Print
    // act on the chosen result; the deleted record leaves the results.
    dialog.results()->selectionModel()->select(dialog.model()->index(0, 0),
                                               QItemSelectionModel::Select | QItemSelectionModel::Rows);
    std::unique_ptr<QMenu> menu = dialog.recordMenu();
    ASSERT_NE(menu, nullptr);
    QAction* remove = menu->findChild<QAction*>(QString::number(ID_RECORD_DELETE));
    ASSERT_NE(remove, nullptr);
    EXPECT_TRUE(remove->isEnabled());
    EXPECT_TRUE(menu->findChild<QAction*>(QString::number(ID_RECORD_PRINT))->isEnabled());
    menu->findChild<QAction*>(QString::number(ID_RECORD_SEND))->trigger();
    EXPECT_EQ(mail.files, std::vector<std::string>{indexline::recIdText(caller) + ".vxz"});
    menu->findChild<QAction*>(QString::number(ID_RECORD_EXPORT_MP3))->trigger();
    EXPECT_EQ(exporter.kind, ID_RECORD_EXPORT_MP3);
    EXPECT_EQ(exporter.recIds, std::vector<std::string>{indexline::recIdText(caller)});
    menu->findChild<QAction*>(QString::number(ID_RECORD_PLAY))->trigger();
    EXPECT_EQ(player.recIds, std::vector<std::string>{indexline::recIdText(caller)});
    EXPECT_EQ(player.index, 0);
    ScriptedPrompt prompt;
    prompt.answerMessage(IDYES);
    prompt.answerMessage(IDOK);
    remove->trigger();
    ASSERT_EQ(prompt.messages().size(), 2u);
    EXPECT_EQ(prompt.messages().at(0).text, "Are you sure you want to delete message ID : " + indexline::recIdText(caller));
    EXPECT_EQ(prompt.messages().at(1).text, "Message(s) Deleted");
    dialog.finishPending();
    EXPECT_EQ(dialog.model()->rowCount(), 0);
}

TEST_F(SearchWindowTest, PrintingToPdfGivesEveryRowWithHeaderAndPageNumbers)
{
    // The main list as shown, through the same describe() Print uses.
    for (int i = 0; i < 70; ++i)
        records->dictation("Letter number " + std::to_string(i), i % 4);
    window->fillList(kListDictation);
    const PrintedList printed = listprinting::describe(app, *window->recordModel(), *list(), QStringLiteral("Dictation"));
    ASSERT_EQ(printed.rows.size(), 70);
    EXPECT_EQ(printed.titles, (QStringList{"ID", "Subject", "Date", "Time", "Duration"}));

    const QString pdf = dir.filePath(QStringLiteral("list.pdf"));
    QPdfWriter writer(pdf);
    writer.setPageSize(QPageSize(QPageSize::A4));
    writer.setResolution(300);
    const int expected = ListPrinter::pageCount(printed, &writer);
    const int pages = ListPrinter::print(printed, &writer);
    ASSERT_GT(pages, 1);  // 70 rows do not fit one page
    EXPECT_EQ(pages, expected);
    // print() ends its painter, which finishes the file.

    const QString text = pdfText(pdf);
    for (const QStringList& row : printed.rows) {
        EXPECT_TRUE(text.contains(row[0])) << row[0].toStdString();
        EXPECT_TRUE(text.contains(row[1])) << row[1].toStdString();
    }
    EXPECT_EQ(text.count(QStringLiteral("Dictation")), pages);  // the header on every page
    EXPECT_EQ(text.count(QStringLiteral("Subject")), pages);
    EXPECT_TRUE(text.contains(QStringLiteral("Page 1 of %1").arg(pages)));
    EXPECT_TRUE(text.contains(QStringLiteral("Page %1 of %1").arg(pages)));
    EXPECT_TRUE(text.contains(printed.date));
    // The hidden columns stay off the paper.
    EXPECT_FALSE(text.contains(QStringLiteral(".vxz")));
}
