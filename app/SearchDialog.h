// The Search window (tool bar button 8020): words, record types, a date
// range and "new messages only"; results as you type, in the record list's
// columns, colours and record menu, sorted by relevance or date, printable.
//
// Each change restarts a short pause; then the query runs on a worker thread
// (RecordSearch opens the index itself), so typing never waits for a big
// store. A change while a query runs asks for one more run when it ends;
// only the newest answer is shown.
#pragma once

#include <QDialog>
#include <QTimer>
#include <memory>
#include <thread>

#include "app/CommandTable.h"
#include "store/RecordSearch.h"

class QCheckBox;
class QComboBox;
class QDateEdit;
class QLabel;
class QLineEdit;
class QTreeView;
class RecordListModel;
class ExportService;
class MailService;
class PlayerService;
class StoreService;
struct AppData;

class SearchDialog : public QDialog {
    Q_OBJECT
public:
    // store deletes records (nullptr: Delete stays greyed); player plays
    // them (nullptr: Play stays greyed).
    SearchDialog(AppData& app, StoreService* store, QWidget* parent = nullptr, PlayerService* player = nullptr);
    ~SearchDialog() override;

    // Send and the record exports in the results' menu (none: greyed).
    void addSendAndExport(MailService* mail, ExportService* exporter);

    // What the controls ask for now.
    SearchRequest request() const;

    // Starts the query at once instead of after the pause.
    void searchNow();
    // Waits for a running query and shows its answer (and any run it asked
    // for): tests and printing see the list complete.
    void finishPending();

    RecordListModel* model() const { return m_model; }
    QTreeView* results() const { return m_results; }
    CommandTable& commands() { return m_commands; }
    std::unique_ptr<QMenu> recordMenu();
    int searchesRun() const { return m_runs; }

    // The pause between the last change and the query.
    static constexpr int kPauseMs = 250;

private:
    void changed();
    void start();
    void showAnswer(SearchAnswer answer, int generation);
    void deleteSelected();
    void playSelected();
    void print();
    std::vector<std::string> selectedIds() const;

    AppData& m_app;
    StoreService* m_store;
    PlayerService* m_player = nullptr;
    QLineEdit* m_words = nullptr;
    std::vector<std::pair<QCheckBox*, unsigned>> m_types;
    QCheckBox* m_useFrom = nullptr;
    QCheckBox* m_useTo = nullptr;
    QDateEdit* m_from = nullptr;
    QDateEdit* m_to = nullptr;
    QCheckBox* m_newOnly = nullptr;
    QComboBox* m_order = nullptr;
    QTreeView* m_results = nullptr;
    QLabel* m_count = nullptr;
    RecordListModel* m_model = nullptr;
    CommandTable m_commands;
    QTimer m_pause;
    std::thread m_worker;
    bool m_running = false;
    bool m_again = false;
    int m_generation = 0;
    int m_runs = 0;
};
