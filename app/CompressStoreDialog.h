// "Please wait - Compressing your Data Store": two status lines whose colour
// tells their state, the error log, and the compression worker, which it
// starts at once and which reports only by posted messages. The dialog
// closes itself when the worker has finished; the user cannot close it
// earlier, since a half-run compression is only safe, not useful.
#pragma once

#include <QDialog>
#include <memory>

#include "store/StoreCompressor.h"

namespace Ui {
class CompressStoreDialog;
}
class QLabel;

class CompressStoreDialog : public QDialog {
    Q_OBJECT
public:
    CompressStoreDialog(const std::string& workspace, const std::string& storePath, StoreCompressor::Save save,
                        QWidget* parent = nullptr);
    ~CompressStoreDialog() override;

    // The save's result, once the dialog has closed.
    int saveResult() const { return m_saveResult; }
    // The status line's state (StoreCompressor::State), for tests.
    int lineState(int line) const;

    static QColor colourOf(int state);

protected:
    bool event(QEvent* event) override;
    void reject() override;

private:
    void setLine(int line, int text, int state);

    std::unique_ptr<Ui::CompressStoreDialog> m_ui;
    std::unique_ptr<StoreCompressor> m_worker;
    int m_states[2] = {0, 0};
    int m_saveResult = 0;
    bool m_finished = false;
};
