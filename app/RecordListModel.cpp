#include "app/RecordListModel.h"

#include "app/RecordLists.h"
#include "platform/Codepage.h"

RecordListModel::RecordListModel(QObject* parent)
    : QAbstractTableModel(parent),
      m_newMessage(QStringLiteral(":/res/images/row-new.png")),
      m_message(QStringLiteral(":/res/images/row-message.png")),
      m_record(QStringLiteral(":/res/images/row-record.png"))
{
}

QColor RecordListModel::qualityColour(int quality)
{
    switch (quality) {
    case 1: return QColor(0, 0, 0);
    case 2: return QColor(43, 132, 34);
    case 3: return QColor(140, 0, 141);
    default: return QColor(10, 20, 200);
    }
}

void RecordListModel::setRows(SearchLogRows rows, int listType)
{
    beginResetModel();
    m_rows = std::move(rows);
    m_listType = listType;
    endResetModel();
}

void RecordListModel::clear()
{
    setRows(SearchLogRows(), m_listType);
}

int RecordListModel::newMessageCount() const
{
    return newMessageCount(m_rows);
}

int RecordListModel::newMessageCount(const SearchLogRows& rows)
{
    if (rows.searchType() != SearchLogRows::kPhone)
        return 0;
    int count = 0;
    for (std::size_t row = 0; row < rows.size(); ++row)
        count += rows.image(row) == SearchLogRows::kNewMessageImage;
    return count;
}

int RecordListModel::rowCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : static_cast<int>(m_rows.size());
}

int RecordListModel::columnCount(const QModelIndex& parent) const
{
    const recordlists::ListSpec* spec = recordlists::specFor(m_listType);
    return parent.isValid() || !spec ? 0 : static_cast<int>(spec->columns.size());
}

QVariant RecordListModel::data(const QModelIndex& index, int role) const
{
    if (!index.isValid() || index.row() >= rowCount())
        return {};
    const auto row = static_cast<std::size_t>(index.row());
    switch (role) {
    case Qt::DisplayRole:
        return fromAnsi(m_rows.cell(row, index.column()));
    case Qt::ForegroundRole:
        return qualityColour(m_rows.quality(row));
    case Qt::DecorationRole:
        if (index.column() != 0)
            return {};
        if (m_rows.searchType() != SearchLogRows::kPhone)
            return m_record;
        return m_rows.image(row) == SearchLogRows::kNewMessageImage ? m_newMessage : m_message;
    default:
        return {};
    }
}

QVariant RecordListModel::headerData(int section, Qt::Orientation orientation, int role) const
{
    const recordlists::ListSpec* spec = recordlists::specFor(m_listType);
    if (orientation != Qt::Horizontal || role != Qt::DisplayRole || !spec || section < 0 ||
        section >= static_cast<int>(spec->columns.size()))
        return {};
    return QString::fromLatin1(spec->columns[section].title);
}
