// The splash screen: the start-up picture for three seconds, then it closes
// itself and the main window takes over.
#pragma once

#include <QDialog>
#include <QPixmap>

class SplashDialog : public QDialog {
    Q_OBJECT
public:
    static constexpr int kShowMs = 3000;

    explicit SplashDialog(QWidget* parent = nullptr);

protected:
    void paintEvent(QPaintEvent* event) override;
    void timerEvent(QTimerEvent* event) override;

private:
    QPixmap m_picture;
    QPixmap m_icon;
    int m_timer = 0;
};
