// Templates (command 2167, and 2110 "Create new recording from template"):
// the store's record templates listed, made, changed and deleted; "New
// Recording" closes the dialog with the chosen template, for which the main
// window posts itself WM_USER+30.
#pragma once

#include <QDialog>

#include <memory>
#include <vector>

#include "store/RecordTemplates.h"

struct AppData;

namespace Ui {
class TemplatesDialog;
}

class TemplatesDialog : public QDialog {
    Q_OBJECT
public:
    explicit TemplatesDialog(AppData& app, QWidget* parent = nullptr);
    ~TemplatesDialog() override;

    // The template chosen for a new recording, or -1.
    int chosen() const { return m_chosen; }
    const std::vector<RecordTemplate>& templates() const { return m_templates; }

    // The buttons' work, for the buttons and for tests.
    void newTemplate();
    bool saveTemplate();
    void deleteTemplate();
    void recordFromTemplate();

private:
    void fill(int select);
    void show(int row);
    RecordTemplate edited() const;
    bool store(const std::vector<RecordTemplate>& all);

    AppData& m_app;
    std::unique_ptr<Ui::TemplatesDialog> m_ui;
    std::vector<RecordTemplate> m_templates;
    int m_chosen = -1;
};
