// VENTITY, first part: construction, enabling, closing and the message helpers.
#include "map/VENTITY.h"

#include "map/VEntityListWidgetItem.h"

#include <QAction>
#include <QCloseEvent>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QIcon>
#include <QKeySequence>
#include <QLineEdit>
#include <QListWidget>
#include <QMenu>
#include <QMenuBar>
#include <QMessageBox>
#include <QPushButton>
#include <QSplitter>
#include <QTableWidget>
#include <QToolButton>
#include <QVBoxLayout>

namespace {

const char *const EditorTitle = "Entity Lump Editor";

struct FilterToggle
{
    const char *text;
    const char *name;
    void (VENTITY::*slot)();
};

const FilterToggle filterToggles[7] = {
    { "Class Name", "filterClassName", &VENTITY::filterToggleClassname },
    { "Key", "filterKey", &VENTITY::filterToggleKey },
    { "Value", "filterValue", &VENTITY::filterToggleValue },
    { "Case Sensitive", "filterCaseSensitive", &VENTITY::filterToggleCaseSensitive },
    { "Substring", "filterSubstring", &VENTITY::filterToggleSubstring },
    { "Ignore Hidden", "filterIgnoreHidden", &VENTITY::filterToggleIgnoreHidden },
    { "Invert Results", "filterInvertResults", &VENTITY::filterToggleInvertResults },
};

QPushButton *makeButton(const QString &text, const char *icon, const char *name)
{
    auto *button
        = new QPushButton(QIcon(QStringLiteral(":/resources/icons/") + QLatin1String(icon)), text);
    button->setObjectName(QLatin1String(name));
    return button;
}

} // namespace

VENTITY::VENTITY(QWidget *parent)
    : QMainWindow(parent)
{
    setAttribute(Qt::WA_DeleteOnClose);
    setWindowTitle(QString::fromLatin1(EditorTitle));
    setWindowIcon(QIcon(QStringLiteral(":/resources/icons/ventity")));
    setMinimumSize(600, 400);
    createActions();
    createMenus();
    createControls();
}

VENTITY::VENTITY(const QString &path, QWidget *parent)
    : VENTITY(parent)
{
    fileOpen(path);
}

VENTITY::~VENTITY() = default;

void VENTITY::createActions()
{
    auto make = [this](const QString &text, const char *icon, const char *name, auto slot) {
        auto *action = new QAction(text, this);
        if (icon)
            action->setIcon(QIcon(QStringLiteral(":/resources/icons/") + QLatin1String(icon)));
        action->setObjectName(QLatin1String(name));
        // Several editors share the workspace: keys act only in the one that has the focus.
        action->setShortcutContext(Qt::WidgetWithChildrenShortcut);
        addAction(action);
        connect(action, &QAction::triggered, this, slot);
        return action;
    };
    openAction
        = make(QStringLiteral("Open..."), "folder", "actionOpen", qOverload<>(&VENTITY::fileOpen));
    openAction->setShortcut(QKeySequence::Open);
    saveAction = make(QStringLiteral("Save"), "disk", "actionSave", &VENTITY::fileSave);
    saveAction->setShortcut(QKeySequence::Save);
    importBspAction
        = make(QStringLiteral("From BSP ..."), nullptr, "actionImportBSP", &VENTITY::importFromBSP);
    importLmpAction
        = make(QStringLiteral("From LMP ..."), nullptr, "actionImportLMP", &VENTITY::importFromLMP);
    importVmfAction
        = make(QStringLiteral("From VMF ..."), nullptr, "actionImportVMF", &VENTITY::importFromVMF);
    exportLmpAction
        = make(QStringLiteral("As LMP ..."), nullptr, "actionExportLMP", &VENTITY::exportAsLMP);
    exportVmfAction
        = make(QStringLiteral("As VMF ..."), nullptr, "actionExportVMF", &VENTITY::exportAsVMF);
    closeAction = make(QStringLiteral("Close"), "cross", "actionClose", &QWidget::close);
    closeAction->setShortcuts(QKeySequence::Close);
    prismAction = make(QStringLiteral("Find In Rectangular Prism..."), "cube_wireframe",
                       "actionFindPrism", &VENTITY::findEntitiesInRectangularPrism);
    sphereAction = make(QStringLiteral("Find In Sphere..."), "sphere", "actionFindSphere",
                        &VENTITY::findEntitiesInSphere);
    for (int i = 0; i < 7; ++i)
        filterActions[i] = make(QString::fromLatin1(filterToggles[i].text), "cross",
                                filterToggles[i].name, filterToggles[i].slot);
}

void VENTITY::createMenus()
{
    QMenu *file = menuBar()->addMenu(QStringLiteral("File"));
    file->addAction(openAction);
    file->addAction(saveAction);
    importMenu = file->addMenu(QStringLiteral("Import..."));
    importMenu->setObjectName(QStringLiteral("importMenu"));
    importMenu->addAction(importBspAction);
    importMenu->addAction(importLmpAction);
    importMenu->addAction(importVmfAction);
    exportMenu = file->addMenu(QStringLiteral("Export..."));
    exportMenu->setObjectName(QStringLiteral("exportMenu"));
    exportMenu->addAction(exportLmpAction);
    exportMenu->addAction(exportVmfAction);
    file->addSeparator();
    file->addAction(closeAction);

    QMenu *advanced = menuBar()->addMenu(QStringLiteral("Advanced Filter"));
    advanced->addAction(prismAction);
    advanced->addAction(sphereAction);
    advanced->addSeparator();
    filterMenu = new QMenu(this);
    for (QAction *toggle : filterActions) {
        advanced->addAction(toggle);
        filterMenu->addAction(toggle);
    }
}

void VENTITY::createControls()
{
    filterEdit = new QLineEdit;
    filterEdit->setObjectName(QStringLiteral("filterEdit"));
    connect(filterEdit, &QLineEdit::returnPressed, this, &VENTITY::filterEntities);
    filterButton = new QToolButton;
    filterButton->setObjectName(QStringLiteral("filterButton"));
    filterButton->setText(QStringLiteral("Filter"));
    filterButton->setMenu(filterMenu);
    filterButton->setPopupMode(QToolButton::MenuButtonPopup);
    connect(filterButton, &QToolButton::clicked, this, &VENTITY::filterEntities);
    filterGroup = new QGroupBox(QStringLiteral("Filter Options (0/0)"));
    filterGroup->setObjectName(QStringLiteral("filterGroup"));
    auto *filterLayout = new QHBoxLayout(filterGroup);
    filterLayout->addWidget(filterEdit);
    filterLayout->addWidget(filterButton);

    entityList = new QListWidget;
    entityList->setObjectName(QStringLiteral("entityList"));
    entityList->setSelectionMode(QAbstractItemView::SingleSelection);
    entityList->setUniformItemSizes(true);
    connect(entityList, &QListWidget::currentRowChanged, this, &VENTITY::entityListRowChanged);

    entityAddButton = makeButton(QStringLiteral("Add"), "add", "entityAdd");
    entityCopyButton = makeButton(QStringLiteral("Copy"), "page_copy", "entityCopy");
    entityDeleteButton = makeButton(QStringLiteral("Delete"), "delete", "entityDelete");
    connect(entityAddButton, &QPushButton::clicked, this, &VENTITY::entityAdd);
    connect(entityCopyButton, &QPushButton::clicked, this, &VENTITY::entityCopy);
    connect(entityDeleteButton, &QPushButton::clicked, this, &VENTITY::entityDelete);
    auto *entityGroup = new QGroupBox(QStringLiteral("Entity Options"));
    auto *entityButtons = new QHBoxLayout(entityGroup);
    entityButtons->addWidget(entityAddButton);
    entityButtons->addWidget(entityCopyButton);
    entityButtons->addWidget(entityDeleteButton);

    auto *left = new QWidget;
    auto *leftLayout = new QVBoxLayout(left);
    leftLayout->setContentsMargins(0, 0, 0, 0);
    leftLayout->addWidget(filterGroup);
    leftLayout->addWidget(entityList);
    leftLayout->addWidget(entityGroup);

    keyvalueTable = new QTableWidget(0, 2);
    keyvalueTable->setObjectName(QStringLiteral("keyvalueTable"));
    keyvalueTable->setHorizontalHeaderLabels({ QStringLiteral("Key"), QStringLiteral("Value") });
    keyvalueTable->horizontalHeader()->setStretchLastSection(true);
    keyvalueTable->horizontalHeader()->resizeSection(0, 180);
    keyvalueTable->verticalHeader()->setDefaultSectionSize(15);
    keyvalueTable->verticalHeader()->setMinimumSectionSize(15);
    keyvalueTable->setDragDropMode(QAbstractItemView::NoDragDrop);
    keyvalueTable->setEditTriggers(QAbstractItemView::DoubleClicked);
    keyvalueTable->setSelectionMode(QAbstractItemView::SingleSelection);
    connect(keyvalueTable, &QTableWidget::currentItemChanged, this,
            &VENTITY::keyvalueTableCurrentItemChanged);
    connect(keyvalueTable, &QTableWidget::itemDoubleClicked, this,
            &VENTITY::keyvalueTableItemDoubleClicked);
    connect(keyvalueTable, &QTableWidget::itemChanged, this, &VENTITY::keyvalueTableItemChanged);
    connect(keyvalueTable, &QTableWidget::itemSelectionChanged, this,
            &VENTITY::keyvalueTableItemSelectionChanged);

    keyvalueAddButton = makeButton(QStringLiteral("Add"), "add", "keyvalueAdd");
    keyvalueCopyButton = makeButton(QStringLiteral("Copy"), "page_copy", "keyvalueCopy");
    keyvalueDeleteButton = makeButton(QStringLiteral("Delete"), "delete", "keyvalueDelete");
    connect(keyvalueAddButton, &QPushButton::clicked, this, qOverload<>(&VENTITY::keyvalueAdd));
    connect(keyvalueCopyButton, &QPushButton::clicked, this, &VENTITY::keyvalueCopy);
    connect(keyvalueDeleteButton, &QPushButton::clicked, this, &VENTITY::keyvalueDelete);
    auto *keyvalueGroup = new QGroupBox(QStringLiteral("Keyvalue Options"));
    auto *keyvalueButtons = new QHBoxLayout(keyvalueGroup);
    keyvalueButtons->addWidget(keyvalueAddButton);
    keyvalueButtons->addWidget(keyvalueCopyButton);
    keyvalueButtons->addWidget(keyvalueDeleteButton);

    auto *right = new QWidget;
    auto *rightLayout = new QVBoxLayout(right);
    rightLayout->setContentsMargins(0, 0, 0, 0);
    rightLayout->addWidget(keyvalueTable);
    rightLayout->addWidget(keyvalueGroup);

    auto *splitter = new QSplitter(Qt::Horizontal);
    splitter->addWidget(left);
    splitter->addWidget(right);
    splitter->setStretchFactor(0, 1);
    splitter->setStretchFactor(1, 3);
    setCentralWidget(splitter);

    for (QWidget *widget : std::initializer_list<QWidget *> {
             filterEdit, filterButton, entityAddButton, entityCopyButton, entityDeleteButton,
             keyvalueAddButton, keyvalueCopyButton, keyvalueDeleteButton })
        widget->setEnabled(false);
    for (QAction *action : { saveAction, importBspAction, importLmpAction, importVmfAction,
                             exportLmpAction, exportVmfAction, prismAction, sphereAction })
        action->setEnabled(false);
    importMenu->setEnabled(false);
    exportMenu->setEnabled(false);
}

void VENTITY::enableFileControls()
{
    for (QAction *action : { saveAction, importBspAction, importLmpAction, importVmfAction,
                             exportLmpAction, exportVmfAction, prismAction, sphereAction })
        action->setEnabled(true);
    importMenu->setEnabled(true);
    exportMenu->setEnabled(true);
    filterEdit->setEnabled(true);
    filterButton->setEnabled(true);
    entityAddButton->setEnabled(true);
}

void VENTITY::closeEvent(QCloseEvent *event)
{
    if (!isWindowModified()) {
        event->accept();
        return;
    }
    QMessageBox box(QMessageBox::Question, title(), QStringLiteral("Data has been modified."),
                    QMessageBox::Save | QMessageBox::Discard | QMessageBox::Cancel, this);
    box.setInformativeText(QStringLiteral("Do you want to save your changes?"));
    box.setDefaultButton(QMessageBox::Save);
    switch (box.exec()) {
    case QMessageBox::Save:
        fileSave();
        event->accept();
        break;
    case QMessageBox::Discard:
        event->accept();
        break;
    default:
        event->ignore();
        break;
    }
}

QString VENTITY::title() const
{
    QString text = windowTitle();
    text.remove(QStringLiteral("[*]"));
    return text;
}

void VENTITY::warn(const QString &text)
{
    QMessageBox::warning(this, title(), text, QMessageBox::Ok);
}

bool VENTITY::ask(const QString &text)
{
    return QMessageBox::question(this, title(), text, QMessageBox::Yes | QMessageBox::No,
                                 QMessageBox::No)
        == QMessageBox::Yes;
}

CEntityLump::Rows VENTITY::rows() const
{
    CEntityLump::Rows all;
    const int count = entityList->count();
    all.reserve(count);
    for (int i = 0; i < count; ++i)
        all.append(&entityAt(i)->entity());
    return all;
}

VEntityListWidgetItem *VENTITY::entityAt(int row) const
{
    return static_cast<VEntityListWidgetItem *>(entityList->item(row));
}
