#include "telephony/PhoneMessagePlayerDialog.h"

#include <QPushButton>
#include <QStyle>

#include <filesystem>

#include "core/AppData.h"
#include "core/ShowCodedMessage.h"
#include "maker/Ek7Acm/Ek7Acm.h"
#include "maker/Ek7Tapi/Ek7Tapi.h"
#include "maker/VXSAVE/VXSAVE.h"
#include "platform/FileOps.h"
#include "platform/Trace.h"
#include "platform/WaitCursor.h"
#include "platform/WindowMessages.h"
#include "res/ResourceIds.h"
#include "res/StringTable.h"
#include "store/ComponentFiles.h"
#include "telephony/LineFailureReport.h"
#include "ui_PhoneMessagePlayerDialog.h"

namespace {

constexpr int kNotExtracted = 111;
constexpr int kNotReadable = 112;

bool endsWith(const std::string& text, const std::string& end)
{
    return text.size() >= end.size() && text.compare(text.size() - end.size(), end.size(), end) == 0;
}

}  // namespace

PhoneMessagePlayerDialog::PhoneMessagePlayerDialog(AppData& app, std::string recordFileName, int quality,
                                                   QWidget* parent)
    : QDialog(parent),
      m_app(app),
      m_recordFileName(std::move(recordFileName)),
      m_quality(quality),
      m_ui(std::make_unique<Ui::PhoneMessagePlayerDialog>())
{
    m_ui->setupUi(this);
    m_ui->IDC_LINE_PLAY->setToolTip(LoadStringQ(662));
    m_ui->IDC_LINE_STOP->setToolTip(LoadStringQ(663));
    m_ui->IDC_LINE_CANCEL->setToolTip(LoadStringQ(669));
    m_ui->IDC_LINE_PLAY->setIcon(style()->standardIcon(QStyle::SP_MediaPlay));
    m_ui->IDC_LINE_STOP->setIcon(style()->standardIcon(QStyle::SP_MediaStop));
    m_ui->IDC_LINE_CANCEL->setIcon(style()->standardIcon(QStyle::SP_DialogCancelButton));
    connect(m_ui->IDC_LINE_PLAY, &QPushButton::clicked, this, &PhoneMessagePlayerDialog::play);
    connect(m_ui->IDC_LINE_STOP, &QPushButton::clicked, this, &PhoneMessagePlayerDialog::stop);
    connect(m_ui->IDC_LINE_CANCEL, &QPushButton::clicked, this, &PhoneMessagePlayerDialog::reject);
    m_ui->playState->setText(QString::fromStdString(m_recordFileName));
    assignControlNumbers(this);
}

PhoneMessagePlayerDialog::~PhoneMessagePlayerDialog()
{
    for (const std::string& file : m_workFiles)
        fileops::removeFile(file);
}

int PhoneMessagePlayerDialog::prepare()
{
    WaitCursor wait;
    const std::string& workspace = m_app.TempDir;
    if (workspace.empty() || ExtractFile(m_app.DataStorePath.c_str(), m_recordFileName.c_str(), workspace.c_str()) != 0)
        return kNotExtracted;
    const std::string recordFile = components::workspacePath(workspace, m_recordFileName);
    m_workFiles.push_back(recordFile);
    std::vector<std::string> members;
    if (VXopenVXZ(recordFile.c_str(), workspace.c_str()) != 0 || VXlistMembers(recordFile.c_str(), &members) != 0)
        return kNotExtracted;
    std::string sound;
    for (const std::string& member : members) {
        m_workFiles.push_back(components::workspacePath(workspace, member));
        if (sound.empty() && (endsWith(member, ".vxw") || endsWith(member, ".wav")))
            sound = components::workspacePath(workspace, member);
    }
    if (sound.empty())
        return kNotReadable;
    if (m_quality == 0) {
        m_playPath = sound;
        return 0;
    }
    // The line plays the line's own form.
    const std::string target = std::filesystem::path(sound).replace_extension(".line.wav").string();
    m_workFiles.push_back(target);
    if (const int converted = Ek7AcmConvert(handleOf(this), sound.c_str(), target.c_str(), 0); converted != 0) {
        OutputDebugString("Ek7AcmConvert failed for line playback: " + std::to_string(converted) + "\n");
        return kNotReadable;
    }
    m_playPath = target;
    return 0;
}

void PhoneMessagePlayerDialog::showButtons(bool playing)
{
    m_ui->IDC_LINE_PLAY->setEnabled(!playing);
    m_ui->IDC_LINE_CANCEL->setEnabled(!playing);
    m_ui->IDC_LINE_STOP->setEnabled(playing);
}

void PhoneMessagePlayerDialog::play()
{
    const LineState* line = m_app.lineState;
    if (line == nullptr || line->CallInProgress == 0 || !fileops::fileExists(m_playPath))
        return;
    m_app.lineState = Ek7TapiPlayFile(m_playPath.c_str());
    if (m_app.lineState->ErrorCode < 1) {
        showButtons(true);
        m_ui->playState->setText(tr("Playing into the call"));
    } else {
        LineFailureReport::show(m_app.lineState->ErrorCode);
    }
}

void PhoneMessagePlayerDialog::stop()
{
    if (m_app.lineState != nullptr && m_app.lineState->Playing != 0) {
        m_app.lineState = Ek7TapiStopPlaying();
        if (m_app.lineState->ErrorCode >= 1) {
            LineFailureReport::show(m_app.lineState->ErrorCode);
            return;
        }
    }
    showButtons(false);
    m_ui->playState->setText(tr("Stopped"));
}

void PhoneMessagePlayerDialog::reject()
{
    if (m_app.lineState != nullptr && m_app.lineState->Playing != 0) {
        m_app.lineState = Ek7TapiStopPlaying();
        if (m_app.lineState->ErrorCode >= 1)
            LineFailureReport::show(m_app.lineState->ErrorCode);
    }
    QDialog::reject();
}

void PhoneMessagePlayerDialog::run(AppData& app, const std::string& recordFileName, int quality, QWidget* parent)
{
    PhoneMessagePlayerDialog dialog(app, recordFileName, quality, parent);
    if (const int code = dialog.prepare(); code != 0) {
        ShowCodedMessage(code, MB_ICONEXCLAMATION);
        return;
    }
    dialog.exec();
}
