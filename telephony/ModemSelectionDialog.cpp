#include "telephony/ModemSelectionDialog.h"

#include <QHeaderView>
#include <QScrollBar>

#include <algorithm>
#include <QImage>
#include <QPixmap>

#include "platform/Codepage.h"
#include "platform/Prompt.h"
#include "res/ResourceIds.h"
#include "res/StringTable.h"
#include "res/resource.h"
#include "telephony/ModemTesterDialog.h"
#include "telephony/SipSettingsDialog.h"
#include "ui_ModemSelectionDialog.h"

namespace {

QIcon iconOf(HICON icon)
{
    if (icon == nullptr || icon->lpPixels == nullptr || icon->dwWidth == 0 || icon->dwHeight == 0)
        return {};
    const QImage image(reinterpret_cast<const uchar*>(icon->lpPixels), static_cast<int>(icon->dwWidth),
                       static_cast<int>(icon->dwHeight), static_cast<int>(icon->dwWidth * 4),
                       QImage::Format_ARGB32);
    return QIcon(QPixmap::fromImage(image.copy()));
}

}  // namespace

ModemSelectionDialog::ModemSelectionDialog(LineState*& line, const ProfileValues& profile, QWidget* parent)
    : QDialog(parent), m_ui(std::make_unique<Ui::ModemSelectionDialog>()), m_selection(line, profile), m_line(line)
{
    m_ui->setupUi(this);
    m_ui->IDC_MODEM_8008->setToolTip(LoadStringQ(742));
    m_ui->IDC_MODEM_LIST->setToolTip(LoadStringQ(744));
    m_ui->IDC_MODEM_SELECT->setToolTip(LoadStringQ(745));
    m_ui->IDC_MODEM_CANCEL->setToolTip(LoadStringQ(746));
    // Columns as wide as what they hold: a short number, a long description.
    m_ui->IDC_MODEM_LIST->header()->setSectionResizeMode(QHeaderView::ResizeToContents);
    m_ui->IDC_MODEM_LIST->header()->setStretchLastSection(false);
    m_ui->IDC_MODEM_LIST->setSelectionMode(QAbstractItemView::SingleSelection);
    connect(m_ui->IDC_MODEM_SELECT, &QPushButton::clicked, this, [this] { select(); });
    connect(m_ui->IDC_MODEM_CANCEL, &QPushButton::clicked, this, [this] { reject(); });
    connect(m_ui->IDC_MODEM_LIST, &QTreeWidget::itemDoubleClicked, this, [this] { select(); });
    connect(m_ui->IDC_MODEM_TEST, &QPushButton::clicked, this, [this] { test(); });
    connect(m_ui->sipSettingsButton, &QPushButton::clicked, this, [this] { sipSettings(); });
    assignControlNumbers(this);
}

ModemSelectionDialog::~ModemSelectionDialog() = default;

bool ModemSelectionDialog::prepare()
{
    const ModemSelection::SetUp result = m_selection.setUp();
    if (result == ModemSelection::SetUp::NoDevices) {
        AfxMessageBox(LoadString(759), MB_OK | MB_ICONINFORMATION);
        return false;
    }
    fillList();  // after a failure: whatever was listed, normally nothing
    return true;
}

long ModemSelectionDialog::run()
{
    if (!prepare())
        return -1;
    exec();
    return m_chosen;
}

void ModemSelectionDialog::fillList()
{
    QTreeWidget* list = m_ui->IDC_MODEM_LIST;
    list->clear();
    const auto& rows = m_selection.rows();
    const auto& icons = m_selection.icons();
    for (std::size_t row = 0; row < rows.size(); ++row) {
        auto* item = new QTreeWidgetItem(list, {fromAnsi(rows[row].number), fromAnsi(rows[row].description)});
        const long device = std::atol(rows[row].number.c_str());
        if (device >= 0 && static_cast<std::size_t>(device) < icons.size())
            item->setIcon(0, iconOf(icons[static_cast<std::size_t>(device)]));
    }
    // Wide enough to show every description whole, without a scroll bar.
    for (int column = 0; column < list->columnCount(); ++column)
        list->resizeColumnToContents(column);
    const int width = list->header()->length() + 2 * list->frameWidth() + list->verticalScrollBar()->sizeHint().width();
    list->setMinimumWidth(std::max(list->minimumWidth(), width));
    adjustSize();
    for (int row : m_selection.preselected()) {
        QTreeWidgetItem* item = list->topLevelItem(row);
        item->setSelected(true);
        list->setCurrentItem(item);
    }
}

void ModemSelectionDialog::select()
{
    const QList<QTreeWidgetItem*> selected = m_ui->IDC_MODEM_LIST->selectedItems();
    if (selected.isEmpty())
        return;
    m_chosen = m_selection.choose(toAnsi(selected.first()->text(0)));
    done(IDOK);
}

void ModemSelectionDialog::test()
{
    const QList<QTreeWidgetItem*> selected = m_ui->IDC_MODEM_LIST->selectedItems();
    if (selected.isEmpty()) {
        AfxMessageBox(LoadString(760), MB_OK | MB_ICONINFORMATION);
        return;
    }
    const std::int32_t kept = m_selection.testDevice(toAnsi(selected.first()->text(0)));
    {
        ModemTesterDialog tester(m_line, toAnsi(selected.first()->text(1)), m_greetingPath, this);
        tester.exec();
    }
    m_line->DeviceId = kept;
}

void ModemSelectionDialog::sipSettings()
{
    SipSettingsDialog dialog(this);
    dialog.exec();
}

void ModemSelectionDialog::reject()
{
    m_selection.cancel();
    m_chosen = -1;
    done(IDCANCEL);
}
