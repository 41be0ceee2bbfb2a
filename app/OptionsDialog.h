// The Options dialog (128): shows the profile values and hands every change
// to its OptionsModel, which does the reading and writing.
#pragma once

#include <QDialog>
#include <memory>

#include "app/OptionsModel.h"

class QButtonGroup;
namespace Ui {
class OptionsDialog;
}

class OptionsDialog : public QDialog {
    Q_OBJECT

public:
    // Tool tips are wrapped to this width, as narrow as the old program's.
    static constexpr int kToolTipWidth = 70;

    OptionsDialog(AppData& app, const ProfileValues& profile, QWidget* parent = nullptr);
    ~OptionsDialog() override;

    const OptionsModel& model() const { return m_model; }

    // Breaks text into lines no wider than width pixels in the tool tip font;
    // a word wider than that keeps a line of its own.
    static QString wrapToolTip(const QString& text, int width = kToolTipWidth);

public slots:
    void accept() override;

private:
    void showModel();
    void setToolTips();
    void connectControls();

    std::unique_ptr<Ui::OptionsDialog> m_ui;
    QButtonGroup* m_qualityGroup = nullptr;
    OptionsModel m_model;
};
