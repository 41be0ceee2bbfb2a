#include "telephony/PhoneBookModel.h"

#include <algorithm>

#include "platform/Codepage.h"

PhoneBookModel::PhoneBookModel(QObject* parent)
    : QAbstractTableModel(parent), m_icon(QStringLiteral(":/res/images/type-phone.png"))
{
}

void PhoneBookModel::setEntries(std::vector<PhoneBookEntry> entries)
{
    beginResetModel();
    m_entries = std::move(entries);
    endResetModel();
}

int PhoneBookModel::findName(const QString& text) const
{
    for (std::size_t row = 0; row < m_entries.size(); ++row)
        if (fromAnsi(m_entries[row].name).startsWith(text, Qt::CaseInsensitive))
            return static_cast<int>(row);
    return -1;
}

int PhoneBookModel::rowCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : static_cast<int>(m_entries.size());
}

int PhoneBookModel::columnCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : 3;
}

QString PhoneBookModel::text(const PhoneBookEntry& entry, int column) const
{
    switch (column) {
    case kName:
        return fromAnsi(entry.name);
    case kNumber:
        return fromAnsi(entry.number);
    default:
        return QString::fromStdString(PhoneBook::offsetText(entry.offset));
    }
}

QVariant PhoneBookModel::data(const QModelIndex& index, int role) const
{
    if (!index.isValid() || index.row() >= rowCount())
        return {};
    if (role == Qt::DisplayRole)
        return text(entry(index.row()), index.column());
    if (role == Qt::DecorationRole && index.column() == kName)
        return m_icon;
    return {};
}

QVariant PhoneBookModel::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (orientation != Qt::Horizontal || role != Qt::DisplayRole)
        return {};
    return section == kName ? QStringLiteral("Name") : section == kNumber ? QStringLiteral("Number") : QString();
}

void PhoneBookModel::sort(int column, Qt::SortOrder order)
{
    // The texts once each, not once per comparison.
    std::vector<std::pair<QString, std::size_t>> keys;
    keys.reserve(m_entries.size());
    for (std::size_t row = 0; row < m_entries.size(); ++row)
        keys.emplace_back(text(m_entries[row], column), row);
    std::stable_sort(keys.begin(), keys.end(), [&](const auto& a, const auto& b) {
        const int compared = a.first.compare(b.first, Qt::CaseInsensitive);
        return order == Qt::AscendingOrder ? compared < 0 : compared > 0;
    });
    std::vector<PhoneBookEntry> sorted;
    sorted.reserve(m_entries.size());
    for (const auto& key : keys)
        sorted.push_back(std::move(m_entries[key.second]));
    beginResetModel();
    m_entries = std::move(sorted);
    endResetModel();
}
