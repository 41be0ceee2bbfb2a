// The Dictation Editor: a filed dictation's subject and comments, changed
// without touching its sound. RecordEditor does the work.
#pragma once

#include <QDialog>
#include <memory>

#include "store/RecordEditor.h"

struct AppData;

namespace Ui {
class DictationEditorDialog;
}

class DictationEditorDialog : public QDialog {
    Q_OBJECT
public:
    DictationEditorDialog(AppData& app, const std::string& recIdText, QWidget* parent = nullptr);
    ~DictationEditorDialog() override;

    // 0 when the record was loaded and may be edited; else the code that
    // run() shows.
    int loadResult() const { return m_loadResult; }
    // Says why the record cannot be edited, if so, then runs the editor
    // modally unless the record could not be loaded at all (a locked one is
    // shown read-only as before).
    int run();

    void save();

private:
    AppData& m_app;
    RecordEditor m_editor;
    EditableRecord m_record;
    int m_loadResult = 0;
    std::unique_ptr<Ui::DictationEditorDialog> m_ui;
};
