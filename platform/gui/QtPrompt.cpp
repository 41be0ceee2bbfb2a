#include "platform/gui/QtPrompt.h"

#include "platform/Codepage.h"

#include <QApplication>
#include <QFile>
#include <QFileDialog>
#include <QPushButton>
#include <QStringList>

#include <map>

MessageBoxLayout messageBoxLayout(UINT flags)
{
    MessageBoxLayout layout;
    switch (flags & MB_TYPEMASK) {
    case MB_OKCANCEL:
        layout.buttons = {IDOK, IDCANCEL};
        layout.escapeButton = IDCANCEL;
        break;
    case MB_ABORTRETRYIGNORE:
        layout.buttons = {IDABORT, IDRETRY, IDIGNORE};
        layout.escapeButton = 0;
        break;
    case MB_YESNOCANCEL:
        layout.buttons = {IDYES, IDNO, IDCANCEL};
        layout.escapeButton = IDCANCEL;
        break;
    case MB_YESNO:
        layout.buttons = {IDYES, IDNO};
        layout.escapeButton = 0;
        break;
    case MB_RETRYCANCEL:
        layout.buttons = {IDRETRY, IDCANCEL};
        layout.escapeButton = IDCANCEL;
        break;
    case MB_CANCELTRYCONTINUE:
        layout.buttons = {IDCANCEL, IDTRYAGAIN, IDCONTINUE};
        layout.escapeButton = IDCANCEL;
        break;
    default:  // MB_OK, and the undefined types as MB_OK
        layout.buttons = {IDOK};
        layout.escapeButton = IDOK;
        break;
    }
    // MB_DEFBUTTON2/3 beyond the last button fall back to the first, as on Windows.
    const std::size_t defaultIndex = (flags & MB_DEFMASK) >> 8;
    layout.defaultButton = layout.buttons[defaultIndex < layout.buttons.size() ? defaultIndex : 0];
    switch (flags & MB_ICONMASK) {
    case MB_ICONHAND: layout.icon = QMessageBox::Critical; break;
    case MB_ICONQUESTION: layout.icon = QMessageBox::Question; break;
    case MB_ICONEXCLAMATION: layout.icon = QMessageBox::Warning; break;
    case MB_ICONASTERISK: layout.icon = QMessageBox::Information; break;
    default: layout.icon = QMessageBox::NoIcon; break;
    }
    return layout;
}

QString qtFilterFromMfc(const std::string& filter)
{
    const QStringList parts = fromAnsi(filter).split(QLatin1Char('|'));
    QStringList entries;
    for (qsizetype i = 0; i + 1 < parts.size(); i += 2) {
        QString description = parts[i].trimmed();
        if (description.isEmpty())  // "||" ends the list
            break;
        QStringList patterns;
        for (const QString& part : parts[i + 1].split(QLatin1Char(';'))) {
            const QString pattern = part.trimmed();
            if (!pattern.isEmpty())
                patterns << (pattern == QLatin1String("*.*") ? QStringLiteral("*") : pattern);
        }
        if (patterns.isEmpty())
            continue;
        const qsizetype open = description.lastIndexOf(QLatin1Char('('));
        if (description.endsWith(QLatin1Char(')')) && open >= 0)
            description = description.left(open).trimmed();
        const QString joined = patterns.join(QLatin1Char(' '));
        entries << (description.isEmpty() ? joined : description) + QStringLiteral(" (") + joined
                       + QLatin1Char(')');
    }
    return entries.join(QStringLiteral(";;"));
}

int QtPrompt::messageBox(const std::string& text, UINT flags, const std::string& caption)
{
    const MessageBoxLayout layout = messageBoxLayout(flags);
    QMessageBox box(layout.icon, fromAnsi(caption), fromAnsi(text), QMessageBox::NoButton,
                    QApplication::activeWindow());
    std::map<QAbstractButton*, int> results;
    for (const int id : layout.buttons) {
        QAbstractButton* button = nullptr;
        switch (id) {
        case IDOK: button = box.addButton(QMessageBox::Ok); break;
        case IDCANCEL: button = box.addButton(QMessageBox::Cancel); break;
        case IDABORT: button = box.addButton(QMessageBox::Abort); break;
        case IDRETRY: button = box.addButton(QMessageBox::Retry); break;
        case IDIGNORE: button = box.addButton(QMessageBox::Ignore); break;
        case IDYES: button = box.addButton(QMessageBox::Yes); break;
        case IDNO: button = box.addButton(QMessageBox::No); break;
        case IDTRYAGAIN:
            button = box.addButton(QMessageBox::tr("&Try Again"), QMessageBox::AcceptRole);
            break;
        case IDCONTINUE:
            button = box.addButton(QMessageBox::tr("&Continue"), QMessageBox::AcceptRole);
            break;
        default: continue;
        }
        results[button] = id;
        if (id == layout.defaultButton)
            box.setDefaultButton(qobject_cast<QPushButton*>(button));
        if (id == layout.escapeButton)
            box.setEscapeButton(button);
    }
    box.exec();
    const auto chosen = results.find(box.clickedButton());
    if (chosen != results.end())
        return chosen->second;
    return layout.escapeButton != 0 ? layout.escapeButton : IDCANCEL;
}

namespace {

// The files chosen in Qt's dialog; several when many, and empty on cancel.
QStringList chosenFiles(const FileDialogRequest& request, bool many)
{
    QFileDialog dialog(QApplication::activeWindow());
    // Qt's own dialog: the same behaviour on every desktop, and no portal
    // round trip that would ignore the options below.
    dialog.setOption(QFileDialog::DontUseNativeDialog);
    dialog.setAcceptMode(request.open ? QFileDialog::AcceptOpen : QFileDialog::AcceptSave);
    dialog.setFileMode(many ? QFileDialog::ExistingFiles
                            : request.open && request.fileMustExist ? QFileDialog::ExistingFile
                                                                    : QFileDialog::AnyFile);
    dialog.setOption(QFileDialog::DontConfirmOverwrite, request.open || !request.overwritePrompt);
    if (!request.title.empty())
        dialog.setWindowTitle(fromAnsi(request.title));
    else
        dialog.setWindowTitle(request.open ? QFileDialog::tr("Open") : QFileDialog::tr("Save As"));
    const QString filter = qtFilterFromMfc(request.filter);
    if (!filter.isEmpty())
        dialog.setNameFilter(filter);
    std::string suffix = request.defaultExt;
    if (!suffix.empty() && suffix.front() == '.')
        suffix.erase(0, 1);
    dialog.setDefaultSuffix(fromAnsi(suffix));
    if (!request.initialDir.empty())
        dialog.setDirectory(QFile::decodeName(request.initialDir.c_str()));
    if (!request.fileName.empty())
        dialog.selectFile(QFile::decodeName(request.fileName.c_str()));
    if (dialog.exec() != QDialog::Accepted)
        return {};
    return dialog.selectedFiles();
}

}  // namespace

std::optional<std::string> QtPrompt::chooseFile(const FileDialogRequest& request)
{
    const QStringList files = chosenFiles(request, false);
    if (files.isEmpty())
        return std::nullopt;
    return QFile::encodeName(files.first()).toStdString();
}

std::vector<std::string> QtPrompt::chooseFiles(const FileDialogRequest& request)
{
    std::vector<std::string> paths;
    for (const QString& file : chosenFiles(request, request.open))
        paths.push_back(QFile::encodeName(file).toStdString());
    return paths;
}
