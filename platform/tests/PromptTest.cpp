#include "platform/Prompt.h"
#include "platform/gui/QtPrompt.h"
#include "tests/support/ScriptedPrompt.h"

#include <gtest/gtest-spi.h>
#include <gtest/gtest.h>

TEST(Prompt, FlagsGiveTheWindowsButtonsIconsDefaultsAndEscape)
{
    struct Case {
        UINT flags;
        std::vector<int> buttons;
        QMessageBox::Icon icon;
        int defaultButton;
        int escapeButton;
    };
    const Case cases[] = {
        {MB_OK, {IDOK}, QMessageBox::NoIcon, IDOK, IDOK},
        {MB_OKCANCEL | MB_ICONSTOP, {IDOK, IDCANCEL}, QMessageBox::Critical, IDOK, IDCANCEL},
        {MB_ABORTRETRYIGNORE | MB_ICONWARNING | MB_DEFBUTTON2, {IDABORT, IDRETRY, IDIGNORE},
         QMessageBox::Warning, IDRETRY, 0},
        {MB_YESNOCANCEL | MB_ICONQUESTION | MB_DEFBUTTON3, {IDYES, IDNO, IDCANCEL},
         QMessageBox::Question, IDCANCEL, IDCANCEL},
        {MB_YESNO | MB_ICONINFORMATION | MB_DEFBUTTON2, {IDYES, IDNO}, QMessageBox::Information, IDNO, 0},
        {MB_RETRYCANCEL | MB_ICONERROR, {IDRETRY, IDCANCEL}, QMessageBox::Critical, IDRETRY, IDCANCEL},
        {MB_CANCELTRYCONTINUE, {IDCANCEL, IDTRYAGAIN, IDCONTINUE}, QMessageBox::NoIcon, IDCANCEL,
         IDCANCEL},
        {MB_OK | MB_DEFBUTTON3 | MB_TOPMOST, {IDOK}, QMessageBox::NoIcon, IDOK, IDOK},  // no 3rd button
    };
    for (const Case& c : cases) {
        const MessageBoxLayout layout = messageBoxLayout(c.flags);
        EXPECT_EQ(layout.buttons, c.buttons) << std::hex << c.flags;
        EXPECT_EQ(layout.icon, c.icon) << std::hex << c.flags;
        EXPECT_EQ(layout.defaultButton, c.defaultButton) << std::hex << c.flags;
        EXPECT_EQ(layout.escapeButton, c.escapeButton) << std::hex << c.flags;
    }
}

TEST(Prompt, MfcFiltersBecomeQtFilters)
{
    EXPECT_EQ(qtFilterFromMfc("Navo Files (*.vxt)|*.vxt||"), "Navo Files (*.vxt)");
    EXPECT_EQ(qtFilterFromMfc("Wave Files (*.wav)|*.wav|All Files (*.*)|*.*||"),
              "Wave Files (*.wav);;All Files (*)");
    EXPECT_EQ(qtFilterFromMfc("Sound|*.wav; *.mp3|"), "Sound (*.wav *.mp3)");
    EXPECT_EQ(qtFilterFromMfc("Audio (wav, mp3)|*.wav;*.mp3||"), "Audio (*.wav *.mp3)");
    EXPECT_EQ(qtFilterFromMfc("Fichiers \xE9t\xE9 (*.x)|*.x||"), QStringLiteral("Fichiers été (*.x)"));
    EXPECT_EQ(qtFilterFromMfc(""), "");
}

TEST(Prompt, InstalledPromptsNestAndTheDefaultServesWhenNoneIsInstalled)
{
    // No default yet: nobody is there to answer, so every box is cancelled.
    EXPECT_EQ(currentPrompt().messageBox("Replace?", MB_YESNO, "Navo"), IDNO);
    EXPECT_EQ(currentPrompt().messageBox("Save?", MB_YESNOCANCEL, "Navo"), IDCANCEL);
    EXPECT_EQ(currentPrompt().chooseFile(FileDialogRequest{}), std::nullopt);

    QtPrompt qtPrompt;
    setDefaultPrompt(&qtPrompt);
    {
        ScriptedPrompt outer;
        {
            ScriptedPrompt inner;
            EXPECT_EQ(&currentPrompt(), &inner);
        }
        EXPECT_EQ(&currentPrompt(), &outer);
    }
    EXPECT_EQ(&currentPrompt(), &qtPrompt);
    setDefaultPrompt(nullptr);
}

TEST(ScriptedPrompt, UnansweredAndUnaskedQuestionsFailTheTest)
{
    ScriptedPrompt prompt;
    int answer = 0;
    EXPECT_NONFATAL_FAILURE(answer = AfxMessageBox("Delete the record?", MB_YESNO),
                            "Unexpected message box \"Delete the record?\"");
    EXPECT_EQ(answer, IDCANCEL);
    std::optional<std::string> file("x");
    FileDialogRequest request;
    request.title = "Export";
    EXPECT_NONFATAL_FAILURE(file = prompt.chooseFile(request), "file dialog \"Export\"");
    EXPECT_EQ(file, std::nullopt);

    EXPECT_NONFATAL_FAILURE(
        {
            ScriptedPrompt leftover;
            leftover.answerMessage(IDOK);
        },
        "never asked for");
}
