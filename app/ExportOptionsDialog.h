// The export options dialog (152): lock, convert to Navo Voice quality and
// compress the chosen records. E-mail opens it captioned "Navo - Send email
// Options". On the Video list only locking applies: a video record has no
// voice recording to convert or compress, so those two are cleared and
// greyed.
#pragma once

#include <QDialog>
#include <memory>
#include <optional>
#include <string>

namespace Ui {
class ExportOptionsDialog;
}

struct ExportOptions {
    bool lock = false;
    bool convert = false;
    bool compress = false;
};

class ExportOptionsDialog : public QDialog {
    Q_OBJECT
public:
    ExportOptionsDialog(const std::string& caption, bool videoList, const ExportOptions& initial,
                        QWidget* parent = nullptr);
    ~ExportOptionsDialog() override;

    ExportOptions options() const;

    // Modal; nullopt when cancelled.
    static std::optional<ExportOptions> ask(const std::string& caption, bool videoList,
                                            const ExportOptions& initial, QWidget* parent);

private:
    std::unique_ptr<Ui::ExportOptionsDialog> m_ui;
};
