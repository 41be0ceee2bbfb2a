// Sending records by e-mail from the main window over a real store, with a
// stand-in "xdg-email" first on PATH: it keeps its arguments and copies the
// files it is given, then exits with the status the test chose.
#include <QCheckBox>
#include <QCoreApplication>
#include <QTemporaryDir>
#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "ScriptedPrompt.h"
#include "StoreWindowFixture.h"
#include "app/RecordMailer.h"
#include "audio/CompressorDialog.h"
#include "maker/Ek7WavComp/Ek7WavComp.h"
#include "maker/VXSAVE/VXSAVE.h"
#include "res/MessageCatalogue.h"
#include "res/resource.h"
#include "store/RecordEditor.h"
#include "store/RecordMail.h"

namespace fs = std::filesystem;

namespace {

const std::string kPlayText =
    "\r\nIMPORTANT\r\n\r\nTo play the attached Navo recording you will require either Navo or the FREE Navo "
    "Player, which you can download from the Navo web site at https://navo.example.org/download/\r\n\r\n"
    "For more information on Navo products and services visit the above website";

std::string slurp(const fs::path& path)
{
    std::ifstream in(path, std::ios::binary);
    std::ostringstream text;
    text << in.rdbuf();
    return text.str();
}

class MailTest : public StoreWindowTest {
protected:
    fs::path bin = fs::path(root) / "bin";
    fs::path got = fs::path(root) / "got";
    QByteArray oldPath = qgetenv("PATH");
    std::optional<ExportOptions> chosen;
    std::vector<bool> askedForVideo;
    RecordMailer mailer{[this](bool video, const ExportOptions&, QWidget*) {
                            askedForVideo.push_back(video);
                            return chosen;
                        },
                        [](const std::vector<std::string>& files, bool convert, bool compress,
                           const std::string& folder, QWidget* owner) {
                            CompressorDialog dialog(files, {convert, compress, false}, folder, owner, 0);
                            dialog.exec();
                        }};

    void SetUp() override
    {
        fs::create_directories(bin);
        fs::create_directories(got / "files");
        std::ofstream(bin / "xdg-email") << "#!/bin/sh\n"
                                            "printf '%s\\0' \"$@\" > \"$NAVO_GOT/args\"\n"
                                            "while [ $# -gt 0 ]; do\n"
                                            "  if [ \"$1\" = --attach ]; then cp \"$2\" \"$NAVO_GOT/files/\"; shift; fi\n"
                                            "  shift\n"
                                            "done\n"
                                            "exit \"${NAVO_STATUS:-0}\"\n";
        fs::permissions(bin / "xdg-email", fs::perms::owner_all);
        qputenv("PATH", QByteArray::fromStdString(bin.string()) + ":/usr/bin:/bin");
        qputenv("NAVO_GOT", QByteArray::fromStdString(got.string()));
        qputenv("XDG_CACHE_HOME", QByteArray::fromStdString(root + "/cache"));
        qunsetenv("NAVO_STATUS");
        open([this](StartupServices& services) { services.mail = &mailer; });
    }
    void TearDown() override
    {
        qputenv("PATH", oldPath);
        StoreWindowTest::TearDown();
    }

    std::vector<std::string> arguments() const
    {
        const std::string all = slurp(got / "args");
        std::vector<std::string> parts;
        std::size_t at = 0;
        for (std::size_t end; (end = all.find('\0', at)) != std::string::npos; at = end + 1)
            parts.push_back(all.substr(at, end - at));
        return parts;
    }
};

}  // namespace

TEST_F(MailTest, SendGivesTheComposerTheTextsAndTheRecordsLockedAndCompressedAndCleansUp)
{
    const long first = records->dictation("Letter");
    const long second = records->dictation("Memo");
    selectAll(kListDictation);
    chosen = ExportOptions{true, false, true};
    ScriptedPrompt prompt;  // nothing may be shown
    window->runCommand(ID_TB_SEND);
    ASSERT_EQ(askedForVideo, std::vector<bool>{false});

    // The two record files arrived, each locked, its sound compressed.
    std::vector<std::string> names;
    double total = 0;
    for (long recId : {first, second}) {
        char name[16];
        std::snprintf(name, sizeof name, "%08ld.vxz", recId);
        names.push_back(name);
        const fs::path copy = got / "files" / name;
        ASSERT_TRUE(fs::exists(copy)) << name;
        total += double(fs::file_size(copy));
        std::vector<std::string> members;
        ASSERT_EQ(VXlistMembers(copy.string().c_str(), &members), kVxOk);
        std::string joined;
        for (const std::string& m : members)
            joined += m.substr(m.find('.')) + " ";
        EXPECT_EQ(joined, ".vxl .vxs .wav ") << name;
        const std::string info = root + "/info";
        fs::create_directories(info);
        for (const std::string& m : members) {
            if (m.size() > 4 && m.substr(m.size() - 4) == ".wav") {
                // Sent compressed: the sound member holds the compressed form.
                ASSERT_EQ(ExtractFile(copy.string().c_str(), m.c_str(), info.c_str()), kVxOk);
                EXPECT_TRUE(Ek7WavIsComp((info + "/" + m).c_str())) << m;
            }
            if (m.size() > 4 && m.substr(m.size() - 4) == ".vxs") {
                ASSERT_EQ(ExtractFile(copy.string().c_str(), m.c_str(), info.c_str()), kVxOk);
                EXPECT_NE(slurp(info + "/" + m).find("Locked=Y\n"), std::string::npos);
            }
        }
    }
    char size[32];
    std::snprintf(size, sizeof size, "%5.2f KB", total / 1024);
    const std::vector<std::string> args = arguments();
    ASSERT_EQ(args.size(), 9u);
    EXPECT_EQ(std::vector<std::string>(args.begin(), args.begin() + 2), (std::vector<std::string>{"--utf8", "--subject"}));
    EXPECT_EQ(args[2], std::string("[Enter your subject heading here] (Navo Recording :- ") + size + ")");
    EXPECT_EQ(args[3], "--body");
    EXPECT_EQ(args[4], "Navo\u2122 voice mail attached\n\nNumber of Messages : 2\n" + kPlayText);
    EXPECT_EQ(args[5], "--attach");
    // In the list's order, the newest first.
    EXPECT_EQ(fs::path(args[6]).filename().string(), names[1]);
    EXPECT_EQ(fs::path(args[8]).filename().string(), names[0]);
    // The composer keeps its own copies; the workspace's are gone, and the
    // records in the store are not locked.
    EXPECT_TRUE(fs::exists(args[6]));
    EXPECT_FALSE(fs::exists(app.TempDir + "/mail"));
    RecordEditor editor(app);
    EditableRecord record;
    char id[16];
    std::snprintf(id, sizeof id, "%08ld", first);
    EXPECT_EQ(editor.load(id, &record), 0);
    EXPECT_FALSE(record.locked);
    editor.discard(record);
}

TEST_F(MailTest, CancelledComposerIs500NoComposerIs501AndOnlyThoseTwoAreShown)
{
    records->dictation("Letter");
    selectAll(kListDictation);
    const std::vector<std::string> names = window->selectedFileNames();
    chosen = ExportOptions{};
    {
        ScriptedPrompt prompt;
        prompt.answerMessage(IDOK);
        qputenv("NAVO_STATUS", "130");
        EXPECT_EQ(mailer.sendRecords(app, names, window.get()), recordmail::kCancelled);
        ASSERT_EQ(prompt.messages().size(), 1u);
        EXPECT_EQ(prompt.messages()[0].text, "The Navo recording was not sent because you cancelled the operation");
        EXPECT_EQ(prompt.messages()[0].flags & MB_ICONMASK, MB_ICONINFORMATION);
    }
    {
        ScriptedPrompt prompt;
        prompt.answerMessage(IDOK);
        qputenv("PATH", QByteArray::fromStdString(root + "/nothing"));
        fs::remove(got / "args");
        EXPECT_EQ(mailer.sendRecords(app, names, window.get()), recordmail::kFailed);
        ASSERT_EQ(prompt.messages().size(), 1u);
        EXPECT_EQ(prompt.messages()[0].text.rfind("An error occurred trying to send your Navo recording : Error 501.", 0), 0u);
        EXPECT_EQ(prompt.messages()[0].flags & MB_ICONMASK, MB_ICONEXCLAMATION);
        EXPECT_FALSE(fs::exists(got / "args"));
    }
    {
        // A missing attachment (503) and a composer that failed for a file
        // it could not read (504) are returned and not shown.
        ScriptedPrompt prompt;
        qputenv("PATH", QByteArray::fromStdString(bin.string()) + ":/usr/bin:/bin");
        EXPECT_EQ(recordmail::sendFiles({root + "/no-such.vxz"}), recordmail::kAttachmentNotFound);
        qputenv("NAVO_STATUS", "5");
        EXPECT_EQ(mailer.sendRecords(app, names, window.get()), recordmail::kAttachmentOpenFailure);
        // Cancelling the options sends nothing.
        fs::remove(got / "args");
        chosen.reset();
        EXPECT_EQ(mailer.sendRecords(app, names, window.get()), -1);
        EXPECT_FALSE(fs::exists(got / "args"));
    }
}

TEST(MailTextTest, SizeSubjectAndBodyTextsByteForByte)
{
    QTemporaryDir dir;
    const std::string root = QFile::encodeName(dir.path()).toStdString();
    auto file = [&](const std::string& name, std::size_t bytes) {
        std::ofstream(root + "/" + name, std::ios::binary) << std::string(bytes, 'x');
        return root + "/" + name;
    };
    const std::string a = file("a.vxz", 204800);
    const std::string b = file("b.vxz", 204800);
    EXPECT_EQ(recordmail::subjectText(recordmail::sizeText({a, b})),
              "[Enter your subject heading here] (Navo Recording :- 400.00 KB)");
    EXPECT_EQ(recordmail::sizeText({file("m.vxz", 1048576)}), " 1.00 MB");
    EXPECT_EQ(recordmail::sizeText({file("k.vxz", 1023)}), "1023.00 bytes");
    EXPECT_EQ(recordmail::sizeText({file("g.vxz", 1536), root + "/missing"}), " 1.50 KB");

    EXPECT_EQ(recordmail::bodyText({a, b}), "Navo\x99 voice mail attached\n\nNumber of Messages : 2\n" + kPlayText);
    // The first file decides: a video record file makes it video mail.
    std::string videoText = kPlayText;
    videoText.replace(videoText.find("Player"), 6, "Video Player");
    EXPECT_EQ(recordmail::bodyText({root + "/clip.VXV", a}),
              "Navo\x99 video mail attached\n\nNumber of Messages : 2\n" + videoText);
    EXPECT_EQ(recordmail::bodyText({a, root + "/clip.vxv"}).substr(0, 27), "Navo\x99 voice mail attached\n\n");
}

TEST(ExportOptionsDialogTest, SendEmailOptionsOnTheVideoListOfferOnlyTheLock)
{
    ExportOptions initial;
    initial.compress = true;
    ExportOptionsDialog voice(RecordMailer::kCaption, false, initial);
    auto box = [](QWidget& dialog, int id) { return dialog.findChild<QCheckBox*>(QString::number(id)); };
    box(voice, IDC_EXPORT_LOCK)->click();
    EXPECT_TRUE(voice.options().lock && !voice.options().convert && voice.options().compress);

    ExportOptionsDialog video(RecordMailer::kCaption, true, initial);
    EXPECT_FALSE(box(video, IDC_EXPORT_CONVERT)->isEnabled());
    EXPECT_FALSE(box(video, IDC_EXPORT_COMPRESS)->isEnabled());
    EXPECT_FALSE(video.options().compress);
    EXPECT_TRUE(box(video, IDC_EXPORT_LOCK)->isEnabled());
}
