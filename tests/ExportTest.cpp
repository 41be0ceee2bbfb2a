// The record exports from the main window's record menu over a real store,
// converted through the real File Converter dialog (offscreen): files named
// from their records, tags read back with ffprobe, sound decoded again by
// lame and checked by length and tone; the "ExpPrompt" choosers; WMV of a
// video record. A compressed record (its sound made by Ek7WavComp) exports,
// plays in the message player and becomes the answer machine's greeting.
#include <QProcess>
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <map>
#include <set>

#include "ScriptedPrompt.h"
#include "StoreWindowFixture.h"
#include "audio/ExportLauncher.h"
#include "audio/MessagePlayer.h"
#include "maker/Ek7Acm/tests/ToneWave.h"
#include "maker/Ek7WavComp/Ek7WavComp.h"
#include "maker/VXSAVE/VXSAVE.h"
#include "platform/CallbackWindow.h"
#include "store/ComponentFiles.h"
#include "store/IndexLine.h"
#include "store/RecordEditor.h"
#include "store/RecordFiler.h"
#include "telephony/AnswerMachineGreeting.h"

namespace fs = std::filesystem;

namespace {

constexpr unsigned kSamples = 16000;  // two seconds at 8000 Hz
constexpr double kRampHz = 500;       // the test recordings' ramp repeats every 16 samples

// ffprobe's view of a file: "section.key" -> value, keys in lower case.
std::map<std::string, std::string> probe(const std::string& path)
{
    QProcess ffprobe;
    ffprobe.start(QStringLiteral("ffprobe"), {QStringLiteral("-v"), QStringLiteral("error"), QStringLiteral("-show_entries"),
                                              QStringLiteral("format=format_name:format_tags:stream=codec_name"),
                                              QStringLiteral("-of"), QStringLiteral("default=noprint_wrappers=1"),
                                              QString::fromStdString(path)});
    ffprobe.waitForFinished(20000);
    std::map<std::string, std::string> found;
    for (const QString& line : QString::fromUtf8(ffprobe.readAllStandardOutput()).split(QLatin1Char('\n'))) {
        const qsizetype equals = line.indexOf(QLatin1Char('='));
        if (equals > 0)
            found[line.left(equals).toLower().toStdString()] = line.mid(equals + 1).toStdString();
    }
    return found;
}

std::string valueOf(const std::map<std::string, std::string>& found, const std::string& key)
{
    const auto it = found.find(key);
    return it == found.end() ? "(no " + key + ")" : it->second;
}

class ExportTest : public StoreWindowTest {
protected:
    ExportLauncher exporter;

    void SetUp() override
    {
        open([this](StartupServices& services) { services.exporter = &exporter; }, kSamples);
        fs::create_directories(out(""));
    }

    std::string out(const std::string& name) const { return root + "/out/" + name; }
    // The sound of a decoded file: length in samples at 8000 Hz and tone.
    void expectRampSound(const std::string& wave)
    {
        const tone::Wave decoded = tone::parse(tone::readAll(wave));
        ASSERT_TRUE(decoded.ok) << wave;
        const std::vector<double> x = tone::channel(decoded.pcm, decoded.format, 0);
        EXPECT_NEAR(static_cast<double>(x.size()) * 8000 / decoded.format.rate, kSamples, 1152);
        EXPECT_NEAR(tone::peakFrequency(tone::slice(x, x.size() / 4, x.size() * 3 / 4), decoded.format.rate, 450,
                                        550),
                    kRampHz, 2.0);
    }
};

}  // namespace

TEST_F(ExportTest, Mp3ExportsAreNamedFromTheirRecordsTaggedAndSoundAsRecorded)
{
    const long first = records->dictation("Budget meeting");
    const long second = records->dictation("Q3 / plans: draft?");
    app.PromptOnExport = 0;
    selectAll(kListDictation);
    ScriptedPrompt prompt;
    prompt.answerFile(out("chosen.mp3"));
    window->runCommand(ID_RECORD_EXPORT_MP3);

    // One chooser, on the first selected record's name; its folder takes
    // the rest, each under its record's name.
    const std::string budget = indexline::recIdText(first) + " Budget meeting.mp3";
    const std::string plans = indexline::recIdText(second) + " Q3 _ plans_ draft_.mp3";
    ASSERT_EQ(prompt.fileRequests().size(), 1u);
    const std::string asked = prompt.fileRequests()[0].fileName;
    ASSERT_TRUE(asked == budget || asked == plans) << asked;
    EXPECT_FALSE(prompt.fileRequests()[0].open);
    ASSERT_TRUE(fs::exists(out("chosen.mp3")));
    ASSERT_TRUE(fs::exists(out(asked == budget ? plans : budget)));
    EXPECT_TRUE(prompt.messages().empty());
    const std::string named = asked == plans ? out("chosen.mp3") : out(plans);

    const auto tags = probe(named);
    EXPECT_EQ(valueOf(tags, "tag:title"), "Q3 / plans: draft?");
    EXPECT_EQ(valueOf(tags, "tag:artist"), logOnName());
    EXPECT_EQ(valueOf(tags, "tag:date"), "2026");
    const std::string other = asked == plans ? out(budget) : out("chosen.mp3");
    ASSERT_EQ(std::system(("lame --quiet --decode '" + other + "' '" + out("decoded.wav") + "'").c_str()), 0);
    expectRampSound(out("decoded.wav"));
    // Nothing is left behind in the workspace.
    EXPECT_FALSE(fs::exists(app.TempDir + "/export"));

    // Again: the file Navo named is there already and the user keeps it.
    const std::string kept = out(asked == budget ? plans : budget);
    fs::resize_file(kept, 10);
    ScriptedPrompt again;
    again.answerFile(out("chosen.mp3"));
    again.answerMessage(IDNO);
    window->runCommand(ID_RECORD_EXPORT_MP3);
    ASSERT_EQ(again.messages().size(), 1u);
    EXPECT_EQ(again.messages()[0].text, kept + " already exists.\nDo you want to replace it?");
    EXPECT_EQ(fs::file_size(kept), 10u);
}

TEST_F(ExportTest, WithExpPromptEachRecordIsAskedForAndACancelWritesNothing)
{
    const long first = records->dictation("One");
    const long second = records->dictation("Two");
    app.PromptOnExport = 1;
    selectAll(kListDictation);
    {
        ScriptedPrompt prompt;
        prompt.answerFile(out("a.vxz"));
        prompt.answerFile(std::nullopt);
        window->runCommand(ID_RECORD_EXPORT_NAVO);
        EXPECT_EQ(prompt.fileRequests().size(), 2u);
        EXPECT_TRUE(fs::is_empty(out("")));
    }
    ScriptedPrompt prompt;
    prompt.answerFile(out("a.vxz"));
    prompt.answerFile(out("b.vxz"));
    window->runCommand(ID_RECORD_EXPORT_NAVO);
    ASSERT_EQ(prompt.fileRequests().size(), 2u);
    // Each file is its record's record file, which carries its own line.
    std::set<std::string> asked;
    for (int i = 0; i < 2; ++i) {
        const std::string file = out(i == 0 ? "a.vxz" : "b.vxz");
        const std::string name = prompt.fileRequests()[static_cast<std::size_t>(i)].fileName;
        asked.insert(name);
        const std::string opened = out("opened-" + std::to_string(i));
        fs::create_directories(opened);
        ASSERT_EQ(VXopenVXZ(file.c_str(), opened.c_str()), 0) << file;
        std::string line;
        for (const auto& entry : fs::directory_iterator(opened))
            if (entry.path().extension() == ".vxl")
                line = tone::readAll(entry.path().string());
        EXPECT_EQ(line.substr(0, 8), name.substr(0, 8)) << file;
    }
    EXPECT_EQ(asked, (std::set<std::string>{indexline::recIdText(first) + " One.vxz",
                                            indexline::recIdText(second) + " Two.vxz"}));
}

TEST_F(ExportTest, AVideoRecordWithSoundOnlyBecomesAnAsfFileWithItsSound)
{
    const long clip = records->video("Site visit");
    app.PromptOnExport = 0;
    selectAll(kListVideo);
    ScriptedPrompt prompt;
    prompt.answerFile(out(indexline::recIdText(clip) + " Site visit.wmv"));
    window->runCommand(ID_RECORD_EXPORT_WMV);
    const std::string file = out(indexline::recIdText(clip) + " Site visit.wmv");
    ASSERT_TRUE(fs::exists(file));
    const auto found = probe(file);
    EXPECT_EQ(valueOf(found, "format_name"), "asf");
    EXPECT_EQ(valueOf(found, "codec_name"), "wmav2");
    EXPECT_EQ(valueOf(found, "tag:title"), "Site visit");
}

TEST_F(ExportTest, ACompressedRecordExportsPlaysAndBecomesTheGreeting)
{
    const long recId = records->dictation("Squeezed");
    // Compress its sound in place, as the compressor leaves a record.
    RecordEditor editor(app);
    EditableRecord record;
    ASSERT_EQ(editor.load(indexline::recIdText(recId), &record), 0);
    ASSERT_EQ(ExtractFile(app.DataStorePath.c_str(), record.recordFileName.c_str(), app.TempDir.c_str()), 0);
    const std::string recordFile = components::workspacePath(app.TempDir, record.recordFileName);
    ASSERT_EQ(VXopenVXZ(recordFile.c_str(), app.TempDir.c_str()), 0);
    fs::remove(recordFile);
    const std::string sound = components::workspacePath(app.TempDir, record.baseName + ".wav");
    ASSERT_EQ(Ek7WavComp(0, sound.c_str(), (sound + ".opus").c_str()), kEk7WavCompFinished);
    fs::rename(sound + ".opus", sound);
    ASSERT_EQ(editor.replaceLine(&record, indexline::fields(record.line, 12)), 0);
    fs::remove(sound);

    app.PromptOnExport = 0;
    selectAll(kListDictation);
    {
        ScriptedPrompt prompt;
        prompt.answerFile(out("squeezed.wav"));
        window->runCommand(ID_RECORD_EXPORT_WAV);
    }
    expectRampSound(out("squeezed.wav"));

    qputenv("NAVO_AUDIO", "virtual");
    qputenv("NAVO_AUDIO_OUTPUT", QFile::encodeName(dir.filePath("speaker.wav")));
    CallbackWindow::registerClass();
    {
        MessagePlayer player(app, {indexline::recIdText(recId)}, 0);
        ASSERT_EQ(player.open(), 0);
        EXPECT_NEAR(player.display().lengthMs, 2000, 25);
    }
    qunsetenv("NAVO_AUDIO");
    qunsetenv("NAVO_AUDIO_OUTPUT");

    ASSERT_EQ(AnswerMachineGreeting::fromDictation(app, record.recordFileName), 0);
    const tone::Wave greeting = tone::parse(tone::readAll(AnswerMachineGreeting::path(app.TempDir)));
    ASSERT_TRUE(greeting.ok);
    EXPECT_EQ(greeting.format.rate, 8000);
    EXPECT_EQ(greeting.format.channels, 1);
    EXPECT_EQ(greeting.format.bits, 16);
    EXPECT_NEAR(static_cast<double>(greeting.pcm.size() / 2), kSamples, 160);
}
