// Meeting Agendas (command 2166): the store's agendas listed, made, renamed,
// deleted and their items edited (one item a line). The work, and every
// refusal, is MeetingAgendaBook's; each change is in the store at once.
#pragma once

#include <QDialog>

#include <memory>

#include "store/MeetingAgendas.h"

struct AppData;

namespace Ui {
class AgendasDialog;
}

class AgendasDialog : public QDialog {
    Q_OBJECT
public:
    explicit AgendasDialog(const AppData& app, QWidget* parent = nullptr);
    ~AgendasDialog() override;

private:
    void fill(int select);
    void show(int row);
    // Shows a refusal, or refills the list with select chosen.
    void after(const std::string& refused, int select);

    MeetingAgendaBook m_book;
    std::unique_ptr<Ui::AgendasDialog> m_ui;
};
