#include "map/VBSPINFO.h"

#include "app/ProgramSettings_t.h"
#include "map/VBSPInfoLumpOptionDialog.h"
#include "packages/CDelegateBSP.h"

#include <QAction>
#include <QApplication>
#include <QClipboard>
#include <QFileDialog>
#include <QHeaderView>
#include <QIcon>
#include <QMenu>
#include <QMessageBox>
#include <QProgressDialog>
#include <QScrollBar>
#include <QTableWidget>
#include <QVBoxLayout>

#include <limits>

namespace {

const char *const InspectorTitle = "BSP Info";

// A busy dialog around the work on a lump; it shows only if the work takes a while.
class BusyDialog : public QProgressDialog
{
public:
    explicit BusyDialog(QWidget *parent)
        : QProgressDialog(QStringLiteral("Processing..."), QStringLiteral("Abort"), 0, 0, parent)
    {
        setWindowTitle(QString::fromLatin1(InspectorTitle));
        setMinimumWidth(400);
        setWindowModality(Qt::WindowModal);
        setCancelButton(nullptr);
        setAutoClose(true);
        setMinimumDuration(500);
    }
};

} // namespace

VBSPINFO::VBSPINFO(const QString &path, QWidget *parent)
    : QWidget(parent)
{
    construct();
    (void)openFile(path);
}

VBSPINFO::VBSPINFO(const CDelegateBSP &bsp, QWidget *parent)
    : QWidget(parent)
{
    construct();
    (void)openFile(bsp);
}

void VBSPINFO::construct()
{
    setWindowTitle(QString::fromLatin1(InspectorTitle));
    setWindowIcon(QIcon(QStringLiteral(":/resources/icons/vbspinfo")));
    createActions();
    createTable();
    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(table);
}

void VBSPINFO::createActions()
{
    copyAction = new QAction(QIcon(QStringLiteral(":/resources/icons/page_copy")),
                             QStringLiteral("Copy"), this);
    copyAction->setObjectName(QStringLiteral("actionCopy"));
    connect(copyAction, &QAction::triggered, this, &VBSPINFO::tableItemCopy);
}

void VBSPINFO::createTable()
{
    table = new QTableWidget(CBspLumpTool::LumpCount, 4);
    table->setObjectName(QStringLiteral("lumpTable"));
    table->setHorizontalHeaderLabels({ QStringLiteral("Offset"), QStringLiteral("Length"),
                                       QStringLiteral("Version"), QStringLiteral("Four CC") });
    QStringList headers;
    for (int lump = 0; lump < CBspLumpTool::LumpCount; ++lump)
        headers.append(QStringLiteral("LUMP %1").arg(lump));
    table->setVerticalHeaderLabels(headers);
    table->horizontalHeader()->setSectionsClickable(false);
    table->verticalHeader()->setSectionsClickable(true);
    table->verticalHeader()->setDefaultSectionSize(20);
    table->verticalHeader()->setMinimumSectionSize(20);
    table->setEditTriggers(QAbstractItemView::NoEditTriggers);
    table->setContextMenuPolicy(Qt::CustomContextMenu);

    const QFontMetrics metrics(table->font());
    const int numberWidth = metrics.horizontalAdvance(QStringLiteral("0000000000")) + 12;
    for (int column = 0; column < 3; ++column)
        table->setColumnWidth(column, numberWidth);
    table->setColumnWidth(
        3, metrics.horizontalAdvance(QStringLiteral("'w' (000) , ").repeated(4)) + 12);
    connect(table, &QWidget::customContextMenuRequested, this, &VBSPINFO::tableContextMenu);

    // Wide enough for every column beside the longest lump name, and a good part of the rows.
    int width = metrics.horizontalAdvance(QStringLiteral("LeafAmbientLightingHDR")) + 40;
    for (int column = 0; column < 4; ++column)
        width += table->columnWidth(column);
    preferredSize = QSize(width + table->verticalScrollBar()->sizeHint().width() + 8, 400);
    connect(table->verticalHeader(), &QHeaderView::sectionClicked, this,
            &VBSPINFO::lumpHeaderSectionClicked);
}

QSize VBSPINFO::sizeHint() const
{
    return preferredSize;
}

bool VBSPINFO::openFile(const QString &path)
{
    CDelegateBSP bsp;
    if (!bsp.openPackage(path, true)) {
        warn(bsp.getLastError());
        return false;
    }
    return openFile(bsp);
}

bool VBSPINFO::openFile(const CDelegateBSP &bsp)
{
    if (bsp.getPackagePath().isEmpty())
        return false;
    bspPath = bsp.getPackagePath();
    fillTable(CBspLumpTool::rows(bsp));
    return true;
}

void VBSPINFO::fillTable(const QVector<CBspLumpTool::Row> &rows)
{
    for (int lump = 0; lump < rows.size() && lump < table->rowCount(); ++lump) {
        const CBspLumpTool::Row &row = rows.at(lump);
        table->setVerticalHeaderItem(lump, new QTableWidgetItem(row.name));
        const QString cells[4] = { QString::number(row.offset), QString::number(row.length),
                                   QString::number(row.version), row.fourCCText };
        for (int column = 0; column < 4; ++column)
            table->setItem(lump, column, new QTableWidgetItem(cells[column]));
    }
}

void VBSPINFO::tableContextMenu(const QPoint &position)
{
    if (!table->itemAt(position))
        return;
    QMenu menu(this);
    menu.addAction(copyAction);
    menu.exec(table->viewport()->mapToGlobal(position));
}

void VBSPINFO::tableItemCopy()
{
    if (const QTableWidgetItem *item = table->currentItem())
        QApplication::clipboard()->setText(item->text());
}

void VBSPINFO::lumpHeaderSectionClicked(int lump)
{
    if (bspPath.isEmpty() || lump < 0 || lump >= table->rowCount())
        return;
    const QTableWidgetItem *header = table->verticalHeaderItem(lump);
    VBSPInfoLumpOptionDialog dialog(header ? header->text() : QString(), this);
    dialog.exec();
    switch (dialog.getResult()) {
    case VBSPInfoLumpOptionDialog::Extract:
        extractLump(lump);
        break;
    case VBSPInfoLumpOptionDialog::Replace:
        replaceLump(lump);
        break;
    case VBSPInfoLumpOptionDialog::None:
        break;
    }
}

void VBSPINFO::extractLump(int lump)
{
    CBspLumpTool::ExtractOptions options;
    options.bspPath = bspPath;
    options.lump = lump;
    options.directory = QFileDialog::getExistingDirectory(this);
    if (options.directory.isEmpty())
        return;
    options.nameByLump = ProgramSettings_t::get()->saveLumpNameNotNumber;
    options.asLumpFile
        = QMessageBox::question(this, windowTitle(), QStringLiteral("Save as *.lmp?"),
                                QMessageBox::Yes | QMessageBox::No)
        == QMessageBox::Yes;
    BusyDialog busy(this);
    options.overwrite = [this, &busy](const QString &path) {
        // The question must not end up under the busy dialog.
        busy.setMinimumDuration(std::numeric_limits<int>::max());
        busy.hide();
        return QMessageBox::warning(
                   this, windowTitle(),
                   QStringLiteral("File %1 already exists.\n\nOverwrite?").arg(path),
                   QMessageBox::Ok | QMessageBox::Cancel)
            == QMessageBox::Ok;
    };
    QString error;
    const bool extracted = CBspLumpTool::extract(options, error);
    busy.close();
    if (!extracted && !error.isEmpty())
        warn(error);
}

void VBSPINFO::replaceLump(int lump)
{
    const QString path
        = QFileDialog::getOpenFileName(this, QStringLiteral("Select Lump"), QString(),
                                       QStringLiteral("Lump File (*.lmp);;All Files (*.*)"));
    if (path.isEmpty())
        return;
    BusyDialog busy(this);
    QString error;
    QVector<CBspLumpTool::Row> rows;
    const CBspLumpTool::ReplaceResult_t result
        = CBspLumpTool::replace({ bspPath, lump, path }, error, &rows);
    busy.close();
    // A failed rewrite is not reported here; the table shows the map as it stands.
    if (result == CBspLumpTool::Replace_Refused) {
        warn(error);
        return;
    }
    fillTable(rows);
}

void VBSPINFO::warn(const QString &text)
{
    QMessageBox::warning(this, windowTitle(), text, QMessageBox::Ok);
}
