#include "platform/SimpleMail.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QStandardPaths>
#include <QStringList>

#include "platform/Codepage.h"
#include "platform/FileOps.h"
#include "platform/Trace.h"

namespace {

constexpr const char* kComposer = "xdg-email";
constexpr int kStatusMissingFile = 2;
constexpr int kStatusUnreadableFile = 5;
constexpr int kStatusInterrupted = 130;
constexpr qint64 kOutboxKeptSeconds = 7 * 24 * 3600;

QString outboxFolder()
{
    QString cache = qEnvironmentVariable("XDG_CACHE_HOME");
    if (cache.isEmpty())
        cache = QDir::homePath() + "/.cache";
    return cache + "/navo/outbox";
}

void removeOldOutboxFolders(const QString& outbox)
{
    const QDateTime oldest = QDateTime::currentDateTimeUtc().addSecs(-kOutboxKeptSeconds);
    for (const QFileInfo& folder : QDir(outbox).entryInfoList(QDir::Dirs | QDir::NoDotAndDotDot)) {
        if (folder.lastModified().toUTC() < oldest)
            QDir(folder.absoluteFilePath()).removeRecursively();
    }
}

// Copies the attachments into a new outbox folder; the MAPI code of the
// first one that cannot be handed over, else SUCCESS_SUCCESS.
ULONG copyToOutbox(const MapiMessage& message, QStringList* copies)
{
    const QString outbox = outboxFolder();
    if (!QDir().mkpath(outbox))
        return MAPI_E_FAILURE;
    removeOldOutboxFolders(outbox);
    std::string folder;
    if (fileops::makeTempFolder(outbox.toStdString(), "mail", &folder) != 0)
        return MAPI_E_FAILURE;
    for (ULONG i = 0; i < message.nFileCount; ++i) {
        const MapiFileDesc& file = message.lpFiles[i];
        const QFileInfo source(QString::fromStdString(file.lpszPathName != nullptr ? file.lpszPathName : ""));
        if (!source.isFile()) {
            QDir(QString::fromStdString(folder)).removeRecursively();
            return MAPI_E_ATTACHMENT_NOT_FOUND;
        }
        const QString name = file.lpszFileName != nullptr ? QString::fromStdString(file.lpszFileName) : source.fileName();
        const QString copy = QString::fromStdString(folder) + "/" + name;
        if (!source.isReadable() || !QFile::copy(source.absoluteFilePath(), copy)) {
            QDir(QString::fromStdString(folder)).removeRecursively();
            return MAPI_E_ATTACHMENT_OPEN_FAILURE;
        }
        copies->append(copy);
    }
    return SUCCESS_SUCCESS;
}

ULONG sendThroughComposer(ULONG /*session*/, ULONG /*uiParam*/, MapiMessage* message, ULONG /*flags*/,
                          ULONG /*reserved*/)
{
    if (message == nullptr || (message->nFileCount > 0 && message->lpFiles == nullptr))
        return MAPI_E_FAILURE;
    const QString composer = QStandardPaths::findExecutable(kComposer);
    if (composer.isEmpty())
        return MAPI_E_FAILURE;
    QStringList copies;
    if (const ULONG copied = copyToOutbox(*message, &copies); copied != SUCCESS_SUCCESS)
        return copied;
    QStringList arguments{"--utf8"};
    if (message->lpszSubject != nullptr)
        arguments << "--subject" << QString::fromStdString(utf8FromAnsi(message->lpszSubject));
    if (message->lpszNoteText != nullptr)
        arguments << "--body" << QString::fromStdString(utf8FromAnsi(message->lpszNoteText));
    for (const QString& copy : copies)
        arguments << "--attach" << copy;
    QProcess process;
    process.setProcessChannelMode(QProcess::ForwardedChannels);
    process.start(composer, arguments);
    if (!process.waitForStarted(-1) || !process.waitForFinished(-1)) {
        OutputDebugString("Mail composer could not be run\n");
        return MAPI_E_FAILURE;
    }
    if (process.exitStatus() != QProcess::NormalExit)
        return MAPI_E_FAILURE;
    return mapiCodeOfComposerStatus(process.exitCode());
}

}  // namespace

LPMAPISENDMAIL FindMAPISendMail()
{
    return QStandardPaths::findExecutable(kComposer).isEmpty() ? nullptr : &sendThroughComposer;
}

ULONG mapiCodeOfComposerStatus(int exitStatus)
{
    switch (exitStatus) {
    case 0: return SUCCESS_SUCCESS;
    case kStatusMissingFile: return MAPI_E_ATTACHMENT_NOT_FOUND;
    case kStatusUnreadableFile: return MAPI_E_ATTACHMENT_OPEN_FAILURE;
    case kStatusInterrupted: return MAPI_USER_ABORT;
    default: return MAPI_E_FAILURE;
    }
}
