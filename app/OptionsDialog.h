// The Options dialog (128): shows an OptionsValues and gives back what the
// user made of it; the caller reads and stores them (OptionsModel).
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

    explicit OptionsDialog(const OptionsValues& values, QWidget* parent = nullptr);
    ~OptionsDialog() override;

    // The values as the controls stand; the costs as typed once OK was pressed.
    const OptionsValues& values() const { return m_values; }

    // Breaks text into lines no wider than width pixels in the tool tip font;
    // a word wider than that keeps a line of its own.
    static QString wrapToolTip(const QString& text, int width = kToolTipWidth);

public slots:
    void accept() override;

private:
    void showValues();
    void setToolTips();
    void connectControls();

    std::unique_ptr<Ui::OptionsDialog> m_ui;
    QButtonGroup* m_qualityGroup = nullptr;
    OptionsValues m_values;
};
