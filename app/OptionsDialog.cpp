#include "app/OptionsDialog.h"

#include <QButtonGroup>
#include <algorithm>
#include <QFontMetrics>
#include <QLineEdit>
#include <QRegularExpression>
#include <QToolTip>

#include "platform/Codepage.h"
#include "platform/WinTypes.h"
#include "res/ResourceIds.h"
#include "res/StringTable.h"
#include "res/resource.h"
#include "ui_OptionsDialog.h"

OptionsDialog::OptionsDialog(const OptionsValues& values, QWidget* parent)
    : QDialog(parent), m_ui(std::make_unique<Ui::OptionsDialog>()), m_values(values)
{
    m_ui->setupUi(this);

    // The rings edit is the spin box's own text field; naming it lets it be
    // found by its number like every other control.
    if (auto* ringsEdit = m_ui->IDC_RINGS_SPIN->findChild<QLineEdit*>())
        ringsEdit->setObjectName(QStringLiteral("IDC_RINGS"));
    assignControlNumbers(this);
    m_ui->okButton->setObjectName(QString::number(IDOK));
    m_ui->cancelButton->setObjectName(QString::number(IDCANCEL));

    m_ui->IDC_SILENCE->setRange(OptionsModel::kSilenceMin, OptionsModel::kSilenceMax);
    m_ui->IDC_SILENCE->setTickInterval(OptionsModel::kSilenceTick);
    m_ui->IDC_RINGS_SPIN->setRange(OptionsModel::kRingsMin, OptionsModel::kRingsMax);
    m_ui->maxMessageSpin->setRange(ProfileValues::kMaxMessage.min, ProfileValues::kMaxMessage.max);
    for (const char* sign : OptionsModel::kCurrencyItems)
        m_ui->IDC_CURRENCY->addItem(fromAnsi(sign));

    m_qualityGroup = new QButtonGroup(this);
    m_qualityGroup->addButton(m_ui->IDC_QUALITY_VOICE, 0);
    m_qualityGroup->addButton(m_ui->IDC_QUALITY_STEREO, 1);
    m_qualityGroup->addButton(m_ui->IDC_QUALITY_RADIO, 2);
    m_qualityGroup->addButton(m_ui->IDC_QUALITY_CD, 3);

    // Connected only once the controls show the values, so that filling them
    // changes nothing.
    showValues();
    setToolTips();
    connectControls();
}

OptionsDialog::~OptionsDialog() = default;

void OptionsDialog::showValues()
{
    m_ui->IDC_PHONE_COST->setText(fromAnsi(m_values.phoneCost));
    m_ui->IDC_MEET_COST->setText(fromAnsi(m_values.meetCost));
    m_ui->IDC_HIGHLIGHT->setChecked(m_values.highLight);
    m_ui->IDC_PRIME->setChecked(m_values.prime);
    m_ui->IDC_PHONE_WARNING->setChecked(m_values.phoneWarning);
    m_ui->IDC_RUN_DIARY->setChecked(m_values.runDiary);
    m_ui->IDC_SILENCE->setValue(m_values.silence);
    m_ui->IDC_SILENCE_SECS->setText(QString::number(m_values.silence));
    m_ui->IDC_RINGS_SPIN->setValue(m_values.rings);
    m_ui->maxMessageSpin->setValue(m_values.maxMessage);
    m_ui->IDC_EXPORT_PROMPT->setChecked(m_values.exportPrompt);
    m_ui->IDC_COMPRESS->setChecked(m_values.compress);

    const QString currency = fromAnsi(m_values.currency);
    const int item = m_ui->IDC_CURRENCY->findText(currency, Qt::MatchExactly);
    if (item >= 0)
        m_ui->IDC_CURRENCY->setCurrentIndex(item);
    m_ui->IDC_CURRENCY->setEditText(currency);

    // A quality outside 0..3 leaves every radio button clear.
    if (QAbstractButton* radio = m_qualityGroup->button(m_values.quality))
        radio->setChecked(true);
}

QString OptionsDialog::wrapToolTip(const QString& text, int width)
{
    const QFontMetrics metrics(QToolTip::font());
    static const QRegularExpression kBlanks(QStringLiteral("\\s+"));
    QStringList lines;
    QString line;
    for (const QString& word : text.split(kBlanks, Qt::SkipEmptyParts)) {
        const QString longer = line.isEmpty() ? word : line + QLatin1Char(' ') + word;
        if (line.isEmpty() || metrics.horizontalAdvance(longer) <= width) {
            line = longer;
        } else {
            lines << line;
            line = word;
        }
    }
    if (!line.isEmpty())
        lines << line;
    return lines.join(QLatin1Char('\n'));
}

void OptionsDialog::setToolTips()
{
    const struct {
        QWidget* control;
        unsigned text;
    } tips[] = {
        {m_ui->IDC_PHONE_COST, 725},     {m_ui->IDC_MEET_COST, 726},
        {m_ui->IDC_RINGS_SPIN, 727},     {m_ui->IDC_PRIME, 728},
        {m_ui->IDC_EXPORT_PROMPT, 729},  {m_ui->IDC_RUN_DIARY, 730},
        {m_ui->IDC_COMPRESS, 731},       {m_ui->IDC_CURRENCY, 743},
        {m_ui->okButton, 732},           {m_ui->cancelButton, 669},
        {m_ui->IDC_QUALITY_VOICE, 796},  {m_ui->IDC_QUALITY_STEREO, 797},
        {m_ui->IDC_QUALITY_RADIO, 798},  {m_ui->IDC_QUALITY_CD, 799},
    };
    for (const auto& tip : tips)
        tip.control->setToolTip(wrapToolTip(LoadStringQ(tip.text)));
    // The rings text field sits on top of the spin box and shows the tip too.
    if (auto* ringsEdit = m_ui->IDC_RINGS_SPIN->findChild<QLineEdit*>())
        ringsEdit->setToolTip(m_ui->IDC_RINGS_SPIN->toolTip());
}

void OptionsDialog::connectControls()
{
    const struct {
        QCheckBox* box;
        bool OptionsValues::*flag;
    } boxes[] = {{m_ui->IDC_HIGHLIGHT, &OptionsValues::highLight},
                 {m_ui->IDC_PRIME, &OptionsValues::prime},
                 {m_ui->IDC_PHONE_WARNING, &OptionsValues::phoneWarning},
                 {m_ui->IDC_RUN_DIARY, &OptionsValues::runDiary},
                 {m_ui->IDC_EXPORT_PROMPT, &OptionsValues::exportPrompt},
                 {m_ui->IDC_COMPRESS, &OptionsValues::compress}};
    for (const auto& box : boxes)
        connect(box.box, &QCheckBox::toggled, this, [this, flag = box.flag](bool on) { m_values.*flag = on; });

    connect(m_ui->IDC_SILENCE, &QSlider::valueChanged, this, [this](int seconds) {
        m_values.silence = std::clamp(seconds, OptionsModel::kSilenceMin, OptionsModel::kSilenceMax);
        m_ui->IDC_SILENCE_SECS->setText(QString::number(m_values.silence));
    });
    connect(m_ui->IDC_RINGS_SPIN, qOverload<int>(&QSpinBox::valueChanged), this,
            [this](int rings) { m_values.rings = std::clamp(rings, OptionsModel::kRingsMin, OptionsModel::kRingsMax); });
    connect(m_ui->maxMessageSpin, qOverload<int>(&QSpinBox::valueChanged), this, [this](int seconds) {
        m_values.maxMessage = std::clamp(seconds, ProfileValues::kMaxMessage.min, ProfileValues::kMaxMessage.max);
    });
    // An editable combo box reports both a chosen item and typing here.
    connect(m_ui->IDC_CURRENCY, &QComboBox::currentTextChanged, this,
            [this](const QString& sign) { m_values.currency = toAnsi(sign); });
    connect(m_qualityGroup, &QButtonGroup::idToggled, this, [this](int quality, bool checked) {
        if (checked)
            m_values.quality = quality;
    });

    connect(m_ui->okButton, &QPushButton::clicked, this, &OptionsDialog::accept);
    connect(m_ui->cancelButton, &QPushButton::clicked, this, &OptionsDialog::reject);
}

void OptionsDialog::accept()
{
    m_values.phoneCost = toAnsi(m_ui->IDC_PHONE_COST->text());
    m_values.meetCost = toAnsi(m_ui->IDC_MEET_COST->text());
    QDialog::accept();
}
