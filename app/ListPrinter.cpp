#include "app/ListPrinter.h"

#include <QAbstractItemModel>
#include <QFont>
#include <QFontMetrics>
#include <QPagedPaintDevice>
#include <QPainter>

#include <algorithm>

namespace {

// Page geometry in device pixels, from the device's resolution.
struct Layout {
    QFont body;
    QFont heading;
    int line = 0;        // height of one row
    int headerHeight = 0;
    int footerHeight = 0;
    int width = 0;
    int height = 0;
    int rowsPerPage = 1;
    QVector<int> columnX;  // left edge of each column, then the right edge
};

Layout layoutFor(const PrintedList& list, QPagedPaintDevice* device)
{
    Layout layout;
    layout.body = QFont(QStringLiteral("Sans Serif"), 9);
    layout.heading = QFont(QStringLiteral("Sans Serif"), 11, QFont::Bold);
    const QFontMetrics body(layout.body, device);
    const QFontMetrics heading(layout.heading, device);
    layout.line = body.lineSpacing() + body.lineSpacing() / 4;
    layout.width = device->width();
    layout.height = device->height();
    // Title line, column titles, a rule.
    layout.headerHeight = heading.lineSpacing() * 2 + layout.line + layout.line / 2;
    layout.footerHeight = layout.line * 2;
    const int room = layout.height - layout.headerHeight - layout.footerHeight;
    layout.rowsPerPage = std::max(1, room / std::max(1, layout.line));

    // The screen widths, in proportion, across the page.
    int total = 0;
    for (int i = 0; i < list.titles.size(); ++i)
        total += std::max(1, i < list.widths.size() ? list.widths[i] : 80);
    int x = 0;
    for (int i = 0; i < list.titles.size(); ++i) {
        layout.columnX.append(x);
        const int w = std::max(1, i < list.widths.size() ? list.widths[i] : 80);
        x += static_cast<int>(static_cast<long long>(w) * layout.width / std::max(1, total));
    }
    layout.columnX.append(layout.width);
    return layout;
}

void paintPage(QPainter& painter, const PrintedList& list, const Layout& layout, int page, int pages)
{
    const QFontMetrics heading(layout.heading, painter.device());
    const QFontMetrics body(layout.body, painter.device());
    painter.setPen(Qt::black);
    painter.setFont(layout.heading);
    const QString title = list.storeName.isEmpty() ? list.listName : list.storeName + QStringLiteral(" - ") + list.listName;
    painter.drawText(QRect(0, 0, layout.width, heading.lineSpacing()), Qt::AlignLeft | Qt::AlignVCenter,
                     heading.elidedText(title, Qt::ElideRight, layout.width * 2 / 3));
    painter.drawText(QRect(0, 0, layout.width, heading.lineSpacing()), Qt::AlignRight | Qt::AlignVCenter, list.date);

    int y = heading.lineSpacing() * 2;
    auto cellRect = [&](int column, int top) {
        const int gap = body.horizontalAdvance(QLatin1Char(' '));
        return QRect(layout.columnX[column], top, layout.columnX[column + 1] - layout.columnX[column] - gap,
                     layout.line);
    };
    QFont bold = layout.body;
    bold.setBold(true);
    painter.setFont(bold);
    const QFontMetrics boldMetrics(bold, painter.device());
    for (int column = 0; column < list.titles.size(); ++column) {
        const QRect rect = cellRect(column, y);
        painter.drawText(rect, Qt::AlignLeft | Qt::AlignVCenter,
                         boldMetrics.elidedText(list.titles[column], Qt::ElideRight, rect.width()));
    }
    y += layout.line;
    painter.drawLine(0, y + layout.line / 4, layout.width, y + layout.line / 4);
    y = layout.headerHeight;

    painter.setFont(layout.body);
    const int first = page * layout.rowsPerPage;
    const int last = std::min<int>(static_cast<int>(list.rows.size()), first + layout.rowsPerPage);
    for (int row = first; row < last; ++row) {
        painter.setPen(row < list.colours.size() && list.colours[row].isValid() ? list.colours[row] : QColor(Qt::black));
        const QStringList& cells = list.rows[row];
        for (int column = 0; column < list.titles.size() && column < cells.size(); ++column) {
            const QRect rect = cellRect(column, y);
            painter.drawText(rect, Qt::AlignLeft | Qt::AlignVCenter,
                             body.elidedText(cells[column], Qt::ElideRight, rect.width()));
        }
        y += layout.line;
    }

    painter.setPen(Qt::black);
    painter.drawText(QRect(0, layout.height - layout.line, layout.width, layout.line), Qt::AlignCenter,
                     QStringLiteral("Page %1 of %2").arg(page + 1).arg(pages));
}

}  // namespace

PrintedList ListPrinter::fromModel(const QAbstractItemModel& model, const QVector<int>& widths, int hiddenColumns)
{
    PrintedList list;
    const int columns = std::max(0, model.columnCount() - hiddenColumns);
    for (int column = 0; column < columns; ++column) {
        list.titles.append(model.headerData(column, Qt::Horizontal, Qt::DisplayRole).toString());
        list.widths.append(column < widths.size() ? widths[column] : 80);
    }
    const int rows = model.rowCount();
    list.rows.reserve(rows);
    list.colours.reserve(rows);
    for (int row = 0; row < rows; ++row) {
        QStringList cells;
        for (int column = 0; column < columns; ++column)
            cells.append(model.index(row, column).data(Qt::DisplayRole).toString());
        list.rows.append(cells);
        const QVariant colour = model.index(row, 0).data(Qt::ForegroundRole);
        list.colours.append(colour.canConvert<QColor>() ? colour.value<QColor>() : QColor(Qt::black));
    }
    return list;
}

int ListPrinter::pageCount(const PrintedList& list, QPagedPaintDevice* device)
{
    const Layout layout = layoutFor(list, device);
    const int rows = static_cast<int>(list.rows.size());
    return std::max(1, (rows + layout.rowsPerPage - 1) / layout.rowsPerPage);
}

int ListPrinter::print(const PrintedList& list, QPagedPaintDevice* device)
{
    QPainter painter;
    if (!painter.begin(device))
        return 0;
    const Layout layout = layoutFor(list, device);
    const int pages = pageCount(list, device);
    for (int page = 0; page < pages; ++page) {
        if (page > 0 && !device->newPage())
            return page;
        paintPage(painter, list, layout, page, pages);
    }
    painter.end();
    return pages;
}
