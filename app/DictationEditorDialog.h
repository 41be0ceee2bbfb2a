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
    // was shown (the dialog then need not run).
    int loadResult() const { return m_loadResult; }

    void save();

private:
    AppData& m_app;
    RecordEditor m_editor;
    EditableRecord m_record;
    int m_loadResult = 0;
    std::unique_ptr<Ui::DictationEditorDialog> m_ui;
};
