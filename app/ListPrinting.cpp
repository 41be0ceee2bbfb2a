#include "app/ListPrinting.h"

#include <QDate>
#include <QDir>
#include <QFileInfo>
#include <QPrintPreviewDialog>
#include <QPrinter>
#include <QPrinterInfo>
#include <QTreeView>

#include "app/RecordListModel.h"
#include "core/AppData.h"

namespace listprinting {

PrintedList describe(const AppData& app, const RecordListModel& model, const QTreeView& view, const QString& listName)
{
    QVector<int> widths;
    for (int column = 0; column < model.columnCount(); ++column)
        widths.append(view.columnWidth(column));
    PrintedList list = ListPrinter::fromModel(model, widths, 2);
    list.storeName = QFileInfo(QString::fromLocal8Bit(app.DataStorePath.c_str())).completeBaseName();
    list.listName = listName;
    list.date = QDate::currentDate().toString(QStringLiteral("dd/MM/yyyy"));
    return list;
}

void preview(QWidget* parent, const PrintedList& list)
{
    QPrinter printer(QPrinter::HighResolution);
    printer.setDocName(list.listName);
    if (QPrinterInfo::availablePrinterNames().isEmpty()) {
        printer.setOutputFormat(QPrinter::PdfFormat);
        QString name = list.listName;
        name.replace(QLatin1Char(' '), QLatin1Char('-'));
        printer.setOutputFileName(QDir::home().filePath(name + QStringLiteral(".pdf")));
    }
    QPrintPreviewDialog dialog(&printer, parent);
    dialog.setWindowTitle(QStringLiteral("Print %1").arg(list.listName));
    dialog.resize(900, 760);
    QObject::connect(&dialog, &QPrintPreviewDialog::paintRequested, &dialog,
                     [&list](QPrinter* target) { ListPrinter::print(list, target); });
    dialog.exec();
}

}  // namespace listprinting
