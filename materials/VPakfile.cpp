#include "materials/VPakfile.h"

#include "app/ZIRK.h"
#include "materials/VPakfileRowDelegate.h"
#include "materials/VPakfileTableWidgetItem.h"
#include "packages/CDelegateBSP.h"
#include "util/QProgressDialogger.h"
#include "util/UtilPath.h"

#include <QCloseEvent>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QIcon>
#include <QLabel>
#include <QLineEdit>
#include <QMessageBox>
#include <QProgressDialog>
#include <QPushButton>
#include <QStackedWidget>
#include <QTableWidget>
#include <QVBoxLayout>

namespace {

const char *const EditorTitle = "Pakfile Lump Editor";

// The colour of a file that is in the package and untouched: any other colour is a change.
const QColor UntouchedColour(192, 255, 192);

} // namespace

VPakfile::VPakfile(QWidget *parent)
    : QMainWindow(parent)
{
    setObjectName(QStringLiteral("VPakfile"));
    setWindowIcon(QIcon(QStringLiteral(":/resources/icons/vpakfile")));
    createPages();
    reset();
}

VPakfile::~VPakfile() = default;

QString VPakfile::typeForExtension(const QString &extension)
{
    return CPakfileTool::typeForExtension(extension);
}

QSize VPakfile::sizeHint() const
{
    return QSize(760, 520);
}

QPushButton *VPakfile::makeButton(const QString &text, const char *objectName, const char *icon)
{
    auto *button
        = new QPushButton(QIcon(QStringLiteral(":/resources/icons/") + QLatin1String(icon)), text);
    button->setObjectName(QLatin1String(objectName));
    return button;
}

QTableWidget *VPakfile::createTable(const char *objectName)
{
    auto *table = new QTableWidget(0, 4);
    table->setObjectName(QLatin1String(objectName));
    table->setHorizontalHeaderLabels({ QStringLiteral("Name"), QStringLiteral("Path"),
                                       QStringLiteral("Size"), QStringLiteral("Type") });
    table->setEditTriggers(QAbstractItemView::NoEditTriggers);
    table->setSelectionBehavior(QAbstractItemView::SelectRows);
    table->setSelectionMode(QAbstractItemView::ExtendedSelection);
    table->setWordWrap(false);
    table->verticalHeader()->hide();
    table->verticalHeader()->setMinimumSectionSize(17);
    table->verticalHeader()->setDefaultSectionSize(17);
    table->horizontalHeader()->setSectionsClickable(true);
    table->horizontalHeader()->setHighlightSections(false);
    table->horizontalHeader()->setStretchLastSection(true);
    table->setItemDelegate(new VPakfileRowDelegate(table));
    table->setColumnWidth(0, 200);
    table->setColumnWidth(1, 260);
    table->setColumnWidth(2, 90);
    return table;
}

void VPakfile::createPages()
{
    pages = new QStackedWidget;
    pages->setObjectName(QStringLiteral("pages"));
    pages->addWidget(createFilePage());
    pages->addWidget(createScanPage());
    setCentralWidget(pages);
}

QWidget *VPakfile::createFilePage()
{
    openButton = makeButton(QStringLiteral("Open"), "bspOpen", "folder");
    saveMapButton = makeButton(QStringLiteral("Save"), "bspSave", "disk");
    revertButton = makeButton(QStringLiteral("Revert"), "fileRevert", "arrow_undo");
    saveFilesButton = makeButton(QStringLiteral("Save"), "fileSave", "page_save");
    deleteButton = makeButton(QStringLiteral("Un/Delete"), "fileDelete", "delete");
    addButton = makeButton(QStringLiteral("Add"), "pakAdd", "add");
    scanButton = makeButton(QStringLiteral("Scan"), "pakScan", "magnifier");
    extractButton = makeButton(QStringLiteral("Extract"), "pakExtract", "compress");
    statusButton = makeButton(QStringLiteral("Status"), "pakInfo", "information");
    connect(openButton, &QPushButton::clicked, this, qOverload<>(&VPakfile::fileOpen));
    connect(saveMapButton, &QPushButton::clicked, this, &VPakfile::fileSave);
    connect(revertButton, &QPushButton::clicked, this, &VPakfile::pakFileRevert);
    connect(saveFilesButton, &QPushButton::clicked, this, &VPakfile::pakFileSave);
    connect(deleteButton, &QPushButton::clicked, this, &VPakfile::pakFileDeleteToggle);
    connect(addButton, &QPushButton::clicked, this, &VPakfile::pakAdd);
    connect(scanButton, &QPushButton::clicked, this, &VPakfile::pakScan);
    connect(extractButton, &QPushButton::clicked, this, &VPakfile::pakExtract);
    connect(statusButton, &QPushButton::clicked, this, &VPakfile::pakInfo);

    const auto group = [](const QString &title, const QList<QPushButton *> &buttons) {
        auto *box = new QGroupBox(title);
        auto *layout = new QHBoxLayout(box);
        layout->setContentsMargins(6, 4, 6, 6);
        for (QPushButton *button : buttons)
            layout->addWidget(button);
        return box;
    };
    auto *groups = new QHBoxLayout;
    groups->addWidget(group(QStringLiteral("BSP Options"), { openButton, saveMapButton }));
    groups->addWidget(
        group(QStringLiteral("File Options"), { revertButton, saveFilesButton, deleteButton }));
    groups->addWidget(group(QStringLiteral("Pakfile Options"),
                            { addButton, scanButton, extractButton, statusButton }));
    groups->addStretch();

    pakfileTable = createTable("pakfileTable");
    connect(pakfileTable->horizontalHeader(), &QHeaderView::sectionClicked, this,
            &VPakfile::pakfileTableHeaderClicked);
    connect(pakfileTable, &QTableWidget::itemSelectionChanged, this,
            &VPakfile::tableSelectionChanged);

    auto *page = new QWidget;
    auto *layout = new QVBoxLayout(page);
    layout->setContentsMargins(4, 4, 4, 4);
    layout->addLayout(groups);
    layout->addWidget(pakfileTable);
    return page;
}

void VPakfile::setFilePageEnabled(bool enabled)
{
    const bool open = delegate != nullptr;
    openButton->setEnabled(enabled);
    for (QPushButton *button :
         { saveMapButton, deleteButton, addButton, scanButton, extractButton, statusButton })
        button->setEnabled(enabled && open);
    const bool selection = !pakfileTable->selectedItems().isEmpty();
    revertButton->setEnabled(enabled && open && selection);
    saveFilesButton->setEnabled(enabled && open && selection);
    pakfileTable->setEnabled(enabled);
}

void VPakfile::reset()
{
    delegate.reset();
    pakfileTable->setRowCount(0);
    scanTable->setRowCount(0);
    pages->setCurrentIndex(0);
    setFilePageEnabled(true);
    setWindowTitle(QString::fromLatin1(EditorTitle));
}

void VPakfile::fileOpen()
{
    ZIRK *zirk = ZIRK::get();
    zirk->configureFileDialog(this, QStringLiteral("Open BSP"),
                              QStringLiteral("Valve Binary Space Partition (*.bsp)"), QString());
    const QString path = zirk->getExistingFile();
    if (!path.isEmpty())
        (void)fileOpen(path);
}

bool VPakfile::fileOpen(const QString &path)
{
    if (path.isEmpty()) {
        qWarning("Request Error: NULL file name");
        return false;
    }
    if (delegate)
        reset();
    if (delegate) {
        qWarning("Request Error: Delegate in delegation");
        return false;
    }
    auto map = std::make_unique<CDelegateBSP>();
    bool opened = false;
    {
        QProgressDialog busy(QStringLiteral("Processing..."), QString(), 0, 0, this);
        busy.setWindowModality(Qt::WindowModal);
        busy.setMinimumDuration(500);
        busy.setValue(0);
        opened = map->openPackage(path, false);
    }
    if (!opened) {
        QMessageBox::warning(this, windowTitle(), map->getLastError());
        return false;
    }
    delegate = std::move(map);
    setWindowTitle(delegate->getPackageName());
    fillPakfileTable();
    setFilePageEnabled(true);
    return true;
}

void VPakfile::fillPakfileTable()
{
    pakfileTable->setSortingEnabled(false);
    pakfileTable->setRowCount(0);
    if (!delegate)
        return;
    QVector<const CPackageHierarchyNode *> entries;
    for (int index = CDelegateBSP::Lump_Count; index < delegate->getNodeCount(); ++index) {
        if (const CPackageHierarchyNode *node = delegate->getNodeByIndex(unsigned(index)))
            entries.append(node);
    }
    pakfileTable->setRowCount(int(entries.size()));
    for (qsizetype row = 0; row < entries.size(); ++row)
        makeTableItemsForNode(entries.at(row), int(row));
    fitColumns(pakfileTable);
}

void VPakfile::fitColumns(QTableWidget *table, bool widenOnly)
{
    // Names and paths as wide as they need, within reason; the type takes the rest. Rows
    // added later only widen, so that a column the user dragged wider stays so.
    for (int column = 0; column < 2; ++column) {
        const int before = table->columnWidth(column);
        table->resizeColumnToContents(column);
        const int wanted = qBound(120, table->columnWidth(column) + 8, 420);
        table->setColumnWidth(column, widenOnly ? qMax(wanted, before) : wanted);
    }
}

void VPakfile::makeTableItemsForNode(const CPackageHierarchyNode *node, int row)
{
    if (!node || row < 0 || row >= pakfileTable->rowCount() || !delegate)
        return;
    pakfileTable->setRowHeight(row, 17);
    auto *name = dynamic_cast<VPakfileTableWidgetItem *>(pakfileTable->item(row, 0));
    if (!name) {
        name = new VPakfileTableWidgetItem(node->getName(),
                                           const_cast<CPackageHierarchyNode *>(node));
        pakfileTable->setItem(row, 0, name);
    }
    name->setText(node->getName());
    name->setNode(const_cast<CPackageHierarchyNode *>(node));
    const QString texts[] = { QString(), QLatin1Char('/') + node->getPath(false), QString(),
                              typeForExtension(UTIL_getFileExtension(node->getName(), true)) };
    for (int column = 1; column < 4; ++column) {
        QTableWidgetItem *cell = pakfileTable->item(row, column);
        if (!cell) {
            cell = new QTableWidgetItem;
            pakfileTable->setItem(row, column, cell);
        }
        if (column == 2) {
            cell->setData(Qt::DisplayRole, delegate->getFileSizeByNode(node));
            cell->setTextAlignment(Qt::AlignRight | Qt::AlignVCenter);
        } else {
            cell->setText(texts[column]);
        }
    }
    for (int column = 0; column < 4; ++column)
        pakfileTable->item(row, column)->setForeground(QColor(0, 0, 0, 255));
    name->update();
}

void VPakfile::sortTable(QTableWidget *table, int column, int &lastColumn, Qt::SortOrder &order)
{
    QProgressDialog busy(QStringLiteral("Processing..."), QStringLiteral("Abort"), 0, 0, this);
    busy.setWindowModality(Qt::WindowModal);
    busy.setMinimumDuration(500);
    busy.setValue(0);
    if (column == lastColumn) {
        order = order == Qt::AscendingOrder ? Qt::DescendingOrder : Qt::AscendingOrder;
    } else {
        order = Qt::AscendingOrder;
        lastColumn = column;
    }
    table->sortItems(column, order);
    table->horizontalHeader()->setSortIndicatorShown(true);
    table->horizontalHeader()->setSortIndicator(column, order);
}

void VPakfile::pakfileTableHeaderClicked(int column)
{
    sortTable(pakfileTable, column, pakfileSortColumn, pakfileSortOrder);
}

void VPakfile::scanTableHeaderClicked(int column)
{
    sortTable(scanTable, column, scanSortColumn, scanSortOrder);
}

void VPakfile::tableSelectionChanged()
{
    const bool selection = delegate && !pakfileTable->selectedItems().isEmpty();
    revertButton->setEnabled(selection && pages->currentIndex() == 0);
    saveFilesButton->setEnabled(selection && pages->currentIndex() == 0);
}

QList<VPakfileTableWidgetItem *> VPakfile::selectedPakfileItems() const
{
    QList<VPakfileTableWidgetItem *> items;
    for (QTableWidgetItem *item : pakfileTable->selectedItems()) {
        if (item->column() == 0)
            items.append(static_cast<VPakfileTableWidgetItem *>(item));
    }
    return items;
}

QProgressDialogger *VPakfile::startProgress(const QString &label, int maximum)
{
    auto *dialog = new QProgressDialogger(label, 0, maximum, QString(), this);
    dialog->setObjectName(QStringLiteral("pakfileProgress"));
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    dialog->setMinimumWidth(400);
    dialog->setModal(true);
    // finishProgress decides at the end whether the dialog stays.
    dialog->setCloseWhenFinished(false);
    dialog->adjustSize();
    dialog->move(mapToGlobal(rect().center()) - dialog->rect().center());
    dialog->show();
    return dialog;
}

void VPakfile::finishProgress(QProgressDialogger *dialog)
{
    if (!dialog)
        return;
    dialog->setEnabled(true);
    dialog->setValue(dialog->maximum());
    if (dialog->logText().isEmpty()) {
        dialog->close();
        return;
    }
    dialog->setLabelText(QStringLiteral("Finished"));
    dialog->showLog();
    dialog->setButtonOkEnabled(true);
}

CPakfileTool::Answer_t VPakfile::askAll(const QString &text, const QString &informative,
                                        bool defaultNo)
{
    QMessageBox box(QMessageBox::Question, windowTitle(), text,
                    QMessageBox::Yes | QMessageBox::YesToAll | QMessageBox::No
                        | QMessageBox::NoToAll | QMessageBox::Cancel,
                    this);
    box.setInformativeText(informative);
    box.setDefaultButton(defaultNo ? QMessageBox::No : QMessageBox::Yes);
    switch (box.exec()) {
    case QMessageBox::Yes:
        return CPakfileTool::Yes;
    case QMessageBox::YesToAll:
        return CPakfileTool::YesToAll;
    case QMessageBox::No:
        return CPakfileTool::No;
    case QMessageBox::NoToAll:
        return CPakfileTool::NoToAll;
    default:
        return CPakfileTool::Cancel;
    }
}

void VPakfile::closeEvent(QCloseEvent *event)
{
    for (int row = 0; row < pakfileTable->rowCount(); ++row) {
        const QTableWidgetItem *item = pakfileTable->item(row, 0);
        if (item && item->background().color() == UntouchedColour)
            continue;
        const QMessageBox::StandardButton answer = QMessageBox::question(
            this, windowTitle(), QStringLiteral("Changes have been made.\n\nDiscard changes?"),
            QMessageBox::Yes | QMessageBox::Cancel, QMessageBox::Cancel);
        if (answer != QMessageBox::Yes) {
            event->ignore();
            return;
        }
        break;
    }
    event->accept();
}
