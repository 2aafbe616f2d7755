// VFGD, first half: construction, the file menu, the focus, the properties and the context
// menu.
#include "gamedata/VFGD.h"

#include "app/ZIRK.h"
#include "gamedata/VFGDTableWidget.h"

#include <QCheckBox>
#include <QColorDialog>
#include <QFormLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLineEdit>
#include <QListWidget>
#include <QMenuBar>
#include <QPushButton>
#include <QSignalBlocker>
#include <QSplitter>
#include <QStatusBar>
#include <QTabWidget>
#include <QVBoxLayout>

#include <memory>

namespace {

QIcon icon(const char *name)
{
    return QIcon(QStringLiteral(":/resources/icons/%1.png").arg(QLatin1String(name)));
}

void setEditText(QLineEdit *edit, const QString &text)
{
    const QSignalBlocker blocker(edit);
    edit->setText(text);
    edit->setCursorPosition(0);
}

} // namespace

VFGD::VFGD(CFileFGD *file, QWidget *parent)
    : QMainWindow(parent)
{
    setAttribute(Qt::WA_DeleteOnClose);
    setWindowTitle(QStringLiteral("FGD Editor"));
    setWindowIcon(icon("page_white_code"));
    createActions();
    createMenus();
    createWidgets();
    fillEntityTable();
    currentEntityChanged();
    if (file && !openShared(file))
        delete file;
}

VFGD::~VFGD()
{
    delete fgd;
}

void VFGD::createActions()
{
    auto make = [this](const QString &text, const char *iconName, void (VFGD::*slot)()) {
        auto *action = new QAction(icon(iconName), text, this);
        connect(action, &QAction::triggered, this, slot);
        return action;
    };
    actionNew = make(QStringLiteral("New"), "page_white_add", &VFGD::fgdNew);
    actionOpen = make(QStringLiteral("Open..."), "folder_explore", &VFGD::fgdOpen);
    actionSave = make(QStringLiteral("Save"), "disk", &VFGD::fgdSave);
    actionSaveAs = make(QStringLiteral("Save As..."), "page_white_disk", &VFGD::fgdSaveAs);
    actionSaveCopyAs
        = make(QStringLiteral("Save Copy As..."), "page_white_disk_add", &VFGD::fgdSaveCopyAs);
    actionImport = make(QStringLiteral("Import..."), "page_white_get", &VFGD::fgdImport);
    actionExport = make(QStringLiteral("Export..."), "page_white_put", &VFGD::fgdExport);
    // There is no writer behind these entries: they stand, greyed, for what the tool lacks.
    for (QAction *action :
         { actionSave, actionSaveAs, actionSaveCopyAs, actionImport, actionExport })
        action->setEnabled(false);
    actionExit = new QAction(icon("cross"), QStringLiteral("Exit"), this);
    connect(actionExit, &QAction::triggered, this, &QWidget::close);
    actionOpen->setShortcuts(QKeySequence::Open);
    actionSave->setShortcuts(QKeySequence::Save);
    actionSaveAs->setShortcuts(QKeySequence::SaveAs);
    actionExit->setShortcuts(QKeySequence::Close);
    actionToggleReadonly
        = make(QStringLiteral("Toggle Readonly"), "lock", &VFGD::fgdToggleReadonly);
    actionToggleSphere = make(QStringLiteral("Toggle Sphere"), "sphere", &VFGD::fgdToggleSphere);
    actionDelete = make(QStringLiteral("Delete"), "cross", &VFGD::fgdDelete);

    classMenu = new QMenu(this);
    classMenu->setObjectName(QStringLiteral("classMenu"));
    for (int i = 0; i < FGD::ClassCount; ++i) {
        QAction *action = classMenu->addAction(FGD::getClassName(FGD::Class_t(i)));
        connect(action, &QAction::triggered, this, &VFGD::fgdEntityTypeChanged);
        classActions.push_back(action);
    }
    parameterMenu = new QMenu(this);
    parameterMenu->setObjectName(QStringLiteral("parameterMenu"));
    for (int i = 0; i < FGD::ParameterCount; ++i) {
        QAction *action = parameterMenu->addAction(FGD::getParameterName(FGD::Parameter_t(i)));
        connect(action, &QAction::triggered, this, &VFGD::fgdParameterTypeChanged);
        parameterActions.push_back(action);
    }
}

void VFGD::createMenus()
{
    fileMenu = menuBar()->addMenu(QStringLiteral("File"));
    fileMenu->addAction(actionNew);
    fileMenu->addAction(actionOpen);
    fileMenu->addSeparator();
    fileMenu->addAction(actionSave);
    fileMenu->addAction(actionSaveAs);
    fileMenu->addAction(actionSaveCopyAs);
    fileMenu->addSeparator();
    fileMenu->addAction(actionImport);
    fileMenu->addAction(actionExport);
    fileMenu->addSeparator();
    fileMenu->addAction(actionExit);

    contextMenu = new QMenu(this);
    contextMenu->setObjectName(QStringLiteral("contextMenu"));
    contextMenu->addAction(actionToggleReadonly);
    contextMenu->addAction(actionToggleSphere);
    contextMenu->addSeparator();
    contextMenu->addAction(actionDelete);
}

QTableWidget *VFGD::makeTable(const QString &name, const QStringList &headers,
                              VFGDTableWidget *widget)
{
    QTableWidget *table = widget ? widget : new QTableWidget;
    table->setObjectName(name);
    table->setColumnCount(int(headers.size()));
    table->setHorizontalHeaderLabels(headers);
    table->setSelectionMode(QAbstractItemView::SingleSelection);
    table->setContextMenuPolicy(Qt::CustomContextMenu);
    table->horizontalHeader()->setStretchLastSection(true);
    table->verticalHeader()->setDefaultSectionSize(table->fontMetrics().height() + 8);
    table->setEditTriggers(QAbstractItemView::DoubleClicked | QAbstractItemView::EditKeyPressed
                           | QAbstractItemView::AnyKeyPressed);
    connect(table, &QWidget::customContextMenuRequested, this, &VFGD::fgdContextMenuRequested);
    return table;
}

void VFGD::createWidgets()
{
    auto *right = new QWidget;
    auto *rightLayout = new QVBoxLayout(right);
    rightLayout->setContentsMargins(0, 0, 0, 0);
    rightLayout->addWidget(createPropertiesGroup());
    auto *lower = new QSplitter(Qt::Vertical);
    lower->addWidget(createTabs());
    lower->addWidget(createChoicesGroup());
    lower->setStretchFactor(0, 3);
    lower->setStretchFactor(1, 1);
    lower->setChildrenCollapsible(false);
    rightLayout->addWidget(lower, 1);

    auto *splitter = new QSplitter(Qt::Horizontal);
    splitter->addWidget(createEntityPane());
    splitter->addWidget(right);
    splitter->setStretchFactor(0, 1);
    splitter->setStretchFactor(1, 2);
    splitter->setChildrenCollapsible(false);
    setCentralWidget(splitter);
    // Fits the workspace of the smallest main window.
    resize(960, 470);
}

QWidget *VFGD::createEntityPane()
{
    auto *entities = new QGroupBox(QStringLiteral("Entities"));
    auto *entityLayout = new QVBoxLayout(entities);
    entityTable = new VFGDTableWidget;
    makeTable(QStringLiteral("entities"), { QStringLiteral("Name"), QStringLiteral("Type") },
              entityTable);
    entityTable->setSelectionBehavior(QAbstractItemView::SelectRows);
    entityTable->setMouseTracking(true);
    entityTable->horizontalHeader()->setSectionResizeMode(0, QHeaderView::Stretch);
    entityTable->horizontalHeader()->setSectionResizeMode(1, QHeaderView::ResizeToContents);
    entityTable->horizontalHeader()->setStretchLastSection(false);
    connect(entityTable, &QTableWidget::currentItemChanged, this, &VFGD::entityCurrentItemChanged);
    connect(entityTable, &QTableWidget::itemChanged, this, &VFGD::fgdEntityItemChanged);
    connect(entityTable, &QTableWidget::itemEntered, this, &VFGD::fgdEntityItemEntered);
    connect(entityTable, &QTableWidget::itemDoubleClicked, this, &VFGD::fgdEntityItemDoubleClicked);
    connect(entityTable, &VFGDTableWidget::upArrowPressed, this, &VFGD::fgdEntityMoveUp);
    connect(entityTable, &VFGDTableWidget::downArrowPressed, this, &VFGD::fgdEntityMoveDown);
    entityLayout->addWidget(entityTable);

    auto *includes = new QGroupBox(QStringLiteral("Includes"));
    auto *includeLayout = new QVBoxLayout(includes);
    includeList = new QListWidget;
    includeList->setObjectName(QStringLiteral("includes"));
    includeList->setMaximumHeight(includeList->fontMetrics().height() * 5);
    includeLayout->addWidget(includeList);

    auto *pane = new QWidget;
    auto *layout = new QVBoxLayout(pane);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(entities, 1);
    layout->addWidget(includes);
    return pane;
}

QGroupBox *VFGD::createPropertiesGroup()
{
    propertiesGroup = new QGroupBox(QStringLiteral("Properties"));
    propertiesGroup->setObjectName(QStringLiteral("Properties"));
    auto *form = new QFormLayout(propertiesGroup);
    auto makeEdit = [this](const char *name, void (VFGD::*slot)()) {
        auto *edit = new QLineEdit;
        edit->setObjectName(QLatin1String(name));
        connect(edit, &QLineEdit::editingFinished, this, slot);
        return edit;
    };
    descriptionEdit = makeEdit("description", &VFGD::fgdDescriptionChanged);
    iconspriteEdit = makeEdit("iconsprite", &VFGD::fgdIconspriteChanged);
    studioEdit = makeEdit("studio", &VFGD::fgdStudioChanged);
    studioPropEdit = makeEdit("studioProp", &VFGD::fgdStudioPropChanged);
    sizeEdit = makeEdit("size", &VFGD::fgdSizeChanged);

    studioCheck = new QCheckBox;
    studioCheck->setObjectName(QStringLiteral("studioCheck"));
    studioCheck->setToolTip(QStringLiteral("The model is taken from the entity"));
    connect(studioCheck, &QCheckBox::stateChanged, this, &VFGD::fgdStudioCheckStateChanged);
    auto *studioRow = new QHBoxLayout;
    studioRow->addWidget(studioCheck);
    studioRow->addWidget(studioEdit, 1);

    colorCheck = new QCheckBox;
    colorCheck->setObjectName(QStringLiteral("colorCheck"));
    connect(colorCheck, &QCheckBox::stateChanged, this, &VFGD::fgdColorCheckStateChanged);
    colorButton = new QPushButton;
    colorButton->setObjectName(QStringLiteral("colorButton"));
    colorButton->setFixedWidth(colorButton->fontMetrics().horizontalAdvance(QLatin1Char('M')) * 6);
    connect(colorButton, &QPushButton::clicked, this, &VFGD::fgdColorButtonClicked);
    auto *colorRow = new QHBoxLayout;
    colorRow->addWidget(colorCheck);
    colorRow->addWidget(colorButton);
    colorRow->addStretch(1);

    baseList = new QListWidget;
    baseList->setObjectName(QStringLiteral("bases"));
    baseList->setFlow(QListView::LeftToRight);
    baseList->setWrapping(true);
    baseList->setMaximumHeight(baseList->fontMetrics().height() * 3);

    form->addRow(QStringLiteral("Description"), descriptionEdit);
    form->addRow(QStringLiteral("Icon Sprite"), iconspriteEdit);
    form->addRow(QStringLiteral("Studio"), studioRow);
    form->addRow(QStringLiteral("Studio Prop"), studioPropEdit);
    form->addRow(QStringLiteral("Color"), colorRow);
    form->addRow(QStringLiteral("Size"), sizeEdit);
    form->addRow(QStringLiteral("Bases"), baseList);
    return propertiesGroup;
}

QTabWidget *VFGD::createTabs()
{
    tabs = new QTabWidget;
    tabs->setObjectName(QStringLiteral("tabs"));
    const QString name = QStringLiteral("Name");
    const QString parameter = QStringLiteral("Parameter");
    const QString description = QStringLiteral("Description");
    keyvalueTable = makeTable(QStringLiteral("keyvalues"),
                              { QStringLiteral("Key"), QStringLiteral("Type"), name,
                                QStringLiteral("Default"), description });
    inputTable = makeTable(QStringLiteral("inputs"), { name, parameter, description });
    outputTable = makeTable(QStringLiteral("outputs"), { name, parameter, description });
    flagTable = makeTable(QStringLiteral("flags"), { QStringLiteral("Default"), description });
    lineTable = makeTable(
        QStringLiteral("lines"),
        { QStringLiteral("Color"), QStringLiteral("Source"), QStringLiteral("Target") });
    QStringList cylinderHeaders { QStringLiteral("Color"), QStringLiteral("Longer Description") };
    for (int i = 0; i < 5; ++i)
        cylinderHeaders.append(QStringLiteral("???"));
    cylinderTable = makeTable(QStringLiteral("cylinders"), cylinderHeaders);

    connect(keyvalueTable, &QTableWidget::currentItemChanged, this,
            &VFGD::keyvalueCurrentItemChanged);
    connect(keyvalueTable, &QTableWidget::itemChanged, this, &VFGD::fgdKeyvalueItemChanged);
    connect(inputTable, &QTableWidget::itemChanged, this, &VFGD::fgdInputItemChanged);
    connect(outputTable, &QTableWidget::itemChanged, this, &VFGD::fgdOutputItemChanged);
    connect(lineTable, &QTableWidget::itemChanged, this, &VFGD::fgdLineItemChanged);
    connect(cylinderTable, &QTableWidget::itemChanged, this, &VFGD::fgdCylinderItemChanged);
    for (QTableWidget *table : { keyvalueTable, inputTable, outputTable })
        connect(table, &QTableWidget::itemDoubleClicked, this,
                &VFGD::fgdParameterItemDoubleClicked);

    // The 32 spawn flags are fixed rows: a default box and the flag's name.
    flagTable->setRowCount(32);
    flagTable->setEditTriggers(QAbstractItemView::NoEditTriggers);
    flagTable->horizontalHeader()->setSectionResizeMode(0, QHeaderView::ResizeToContents);
    QStringList rowHeaders;
    for (int bit = 0; bit < 32; ++bit) {
        rowHeaders.append(QStringLiteral("1 << %1").arg(bit));
        auto *check = new QCheckBox;
        check->setObjectName(QStringLiteral("flag%1").arg(bit));
        connect(check, &QCheckBox::toggled, this, &VFGD::fgdFlagToggled);
        auto *cell = new QWidget;
        auto *cellLayout = new QHBoxLayout(cell);
        cellLayout->setContentsMargins(6, 0, 6, 0);
        cellLayout->addWidget(check, 0, Qt::AlignCenter);
        flagTable->setCellWidget(bit, 0, cell);
        flagChecks.push_back(check);
    }
    flagTable->setVerticalHeaderLabels(rowHeaders);

    tabs->addTab(keyvalueTable, QStringLiteral("Keyvalues"));
    tabs->addTab(inputTable, QStringLiteral("Inputs"));
    tabs->addTab(outputTable, QStringLiteral("Outputs"));
    tabs->addTab(flagTable, QStringLiteral("Flags"));
    tabs->addTab(lineTable, QStringLiteral("Lines"));
    tabs->addTab(cylinderTable, QStringLiteral("Cylinders"));
    return tabs;
}

QGroupBox *VFGD::createChoicesGroup()
{
    choicesGroup = new QGroupBox(QStringLiteral("Choices"));
    auto *layout = new QVBoxLayout(choicesGroup);
    choicesTable = makeTable(QStringLiteral("choices"),
                             { QStringLiteral("Value"), QStringLiteral("Description") });
    connect(choicesTable, &QTableWidget::itemChanged, this, &VFGD::fgdChoicesItemChanged);
    layout->addWidget(choicesTable);
    return choicesGroup;
}

bool VFGD::openShared(CFileFGD *file)
{
    if (!file || fgd)
        return false;
    fgd = file;
    fillEntityTable();
    includeList->clear();
    includeList->addItems(fgd->includes);
    entityFocus = -1;
    if (!fgd->entities.empty()) {
        const QSignalBlocker blocker(entityTable);
        entityTable->setCurrentCell(0, 0);
        entityFocus = 0;
    }
    currentEntityChanged();
    return true;
}

void VFGD::fgdNew()
{
    // A window that shows a file already ignores the new one.
    auto file = std::make_unique<CFileFGD>();
    if (openShared(file.get()))
        file.release();
}

void VFGD::fgdOpen()
{
    ZIRK *zirk = ZIRK::get();
    zirk->configureFileDialog(this, QStringLiteral("Load"),
                              QStringLiteral("Forge Game Data (*.fgd)"), QString());
    const QString path = zirk->getExistingFile();
    if (path.isEmpty())
        return;
    auto file = std::make_unique<CFileFGD>();
    // A file that fails to read opens nothing, without a word.
    if (file->createFromFile(path))
        zirk->showVFGD(file.release());
}

// The write side of the tool has no writer behind it.
void VFGD::fgdSave() { }

void VFGD::fgdSaveAs() { }

void VFGD::fgdSaveCopyAs() { }

void VFGD::fgdImport() { }

void VFGD::fgdExport() { }

CFileFGD::Entity_t *VFGD::focusEntity() const
{
    if (!fgd || entityFocus < 0 || size_t(entityFocus) >= fgd->entities.size())
        return nullptr;
    return &fgd->entities[size_t(entityFocus)];
}

CFileFGD::Keyvalue_t *VFGD::focusKeyvalue() const
{
    CFileFGD::Entity_t *entity = focusEntity();
    if (!entity || keyvalueFocus < 0 || size_t(keyvalueFocus) >= entity->keyvalues.size())
        return nullptr;
    return &entity->keyvalues[size_t(keyvalueFocus)];
}

void VFGD::entityCurrentItemChanged(QTableWidgetItem *current)
{
    const int row = current ? current->row() : -1;
    entityFocus = fgd && row >= 0 && size_t(row) < fgd->entities.size() ? row : -1;
    currentEntityChanged();
}

void VFGD::keyvalueCurrentItemChanged(QTableWidgetItem *current)
{
    const CFileFGD::Entity_t *entity = focusEntity();
    const int row = current ? current->row() : -1;
    keyvalueFocus = entity && row >= 0 && size_t(row) < entity->keyvalues.size() ? row : -1;
    currentKeyvalueChanged();
}

void VFGD::clearProperties()
{
    for (QLineEdit *edit :
         { descriptionEdit, iconspriteEdit, studioEdit, studioPropEdit, sizeEdit })
        setEditText(edit, QString());
    for (QCheckBox *check : { studioCheck, colorCheck }) {
        const QSignalBlocker blocker(check);
        check->setChecked(false);
    }
    baseList->clear();
    colorButton->setPalette(QPalette());
    colorButton->setIcon(QIcon());
}

void VFGD::currentEntityChanged()
{
    const CFileFGD::Entity_t *entity = focusEntity();
    propertiesGroup->setEnabled(entity != nullptr);
    tabs->setEnabled(entity != nullptr);
    clearProperties();
    if (entity) {
        setEditText(descriptionEdit, QString::fromLatin1(entity->description));
        setEditText(iconspriteEdit, QString::fromLatin1(entity->iconsprite));
        {
            const QSignalBlocker blocker(studioCheck);
            studioCheck->setChecked(entity->helperFlags & CFileFGD::HelperStudioFromEntity);
        }
        studioEdit->setEnabled(!studioCheck->isChecked());
        setEditText(studioEdit, QString::fromLatin1(entity->studio));
        setEditText(studioPropEdit, QString::fromLatin1(entity->studioProp));
        {
            const QSignalBlocker blocker(colorCheck);
            colorCheck->setChecked(entity->helperFlags & CFileFGD::HelperColor);
        }
        updateColorButton();
        updateSize();
        for (const QByteArray &base : entity->bases)
            baseList->addItem(QString::fromLatin1(base));
    }
    fillKeyvalueTable();
    fillInputTable();
    fillOutputTable();
    fillFlagTable();
    fillLineTable();
    fillCylinderTable();
    keyvalueFocus = -1;
    currentKeyvalueChanged();
}

void VFGD::currentKeyvalueChanged()
{
    const CFileFGD::Keyvalue_t *keyvalue = focusKeyvalue();
    const bool choices = keyvalue && keyvalue->type == FGD::Choices;
    if (choices) {
        fillChoicesTable();
    } else {
        // Cleared as well, so that no list of another keyvalue is left standing.
        clearTable(choicesTable);
    }
    choicesTable->setEnabled(choices);
    choicesGroup->setEnabled(choices);
}

void VFGD::updateColorButton()
{
    const CFileFGD::Entity_t *entity = focusEntity();
    if (!entity)
        return;
    QPalette palette = colorButton->palette();
    palette.setColor(QPalette::Button, QColor::fromRgb(entity->color));
    colorButton->setPalette(palette);
    QPixmap swatch(colorButton->iconSize());
    swatch.fill(QColor::fromRgb(entity->color));
    colorButton->setIcon(QIcon(swatch));
    colorButton->setToolTip(QColor::fromRgb(entity->color).name());
}

void VFGD::updateSize()
{
    const CFileFGD::Entity_t *entity = focusEntity();
    if (!entity)
        return;
    QString text = QStringLiteral("%1 %2 %3")
                       .arg(entity->sizeMin.x, 0, 'g')
                       .arg(entity->sizeMin.y, 0, 'g')
                       .arg(entity->sizeMin.z, 0, 'g');
    if (entity->hasSizeMax) {
        text += QStringLiteral(" , %1 %2 %3")
                    .arg(entity->sizeMax.x, 0, 'g')
                    .arg(entity->sizeMax.y, 0, 'g')
                    .arg(entity->sizeMax.z, 0, 'g');
    }
    setEditText(sizeEdit, text);
}

void VFGD::fgdDescriptionChanged()
{
    if (CFileFGD::Entity_t *entity = focusEntity())
        entity->description = descriptionEdit->text().toLatin1();
}

void VFGD::fgdIconspriteChanged()
{
    if (CFileFGD::Entity_t *entity = focusEntity())
        entity->iconsprite = iconspriteEdit->text().toLatin1();
}

void VFGD::fgdStudioChanged()
{
    if (CFileFGD::Entity_t *entity = focusEntity())
        entity->studio = studioEdit->text().toLatin1();
}

void VFGD::fgdStudioPropChanged()
{
    if (CFileFGD::Entity_t *entity = focusEntity())
        entity->studioProp = studioPropEdit->text().toLatin1();
}

void VFGD::fgdSizeChanged()
{
    CFileFGD::Entity_t *entity = focusEntity();
    if (!entity)
        return;
    const QStringList parts
        = sizeEdit->text().simplified().split(QLatin1Char(','), Qt::SkipEmptyParts);
    auto read = [](const QString &part, CVector3 &out) {
        const QStringList numbers = part.trimmed().split(QLatin1Char(' '));
        float *fields[] = { &out.x, &out.y, &out.z };
        for (int i = 0; i < 3; ++i)
            *fields[i] = float(numbers.value(i, QStringLiteral("0")).toInt());
    };
    read(parts.value(0), entity->sizeMin);
    entity->hasSizeMax = parts.size() > 1;
    if (entity->hasSizeMax)
        read(parts.at(1), entity->sizeMax);
    updateSize();
}

void VFGD::fgdStudioCheckStateChanged(int state)
{
    // Checked means the model comes from the entity, so the path is not edited then.
    studioEdit->setEnabled(state == Qt::Unchecked);
    if (CFileFGD::Entity_t *entity = focusEntity()) {
        if (state == Qt::Unchecked)
            entity->helperFlags &= ~quint32(CFileFGD::HelperStudioFromEntity);
        else
            entity->helperFlags |= CFileFGD::HelperStudioFromEntity;
    }
}

void VFGD::fgdColorCheckStateChanged(int state)
{
    if (CFileFGD::Entity_t *entity = focusEntity()) {
        if (state == Qt::Unchecked)
            entity->helperFlags &= ~quint32(CFileFGD::HelperColor);
        else
            entity->helperFlags |= CFileFGD::HelperColor;
    }
}

void VFGD::fgdColorButtonClicked()
{
    CFileFGD::Entity_t *entity = focusEntity();
    if (!entity)
        return;
    const QColor color = QColorDialog::getColor(QColor::fromRgb(entity->color), this,
                                                QStringLiteral("Entity Color"));
    if (!color.isValid())
        return;
    entity->color = color.rgb();
    updateColorButton();
    colorCheck->setChecked(true);
}

void VFGD::fgdFlagToggled(bool on)
{
    CFileFGD::Entity_t *entity = focusEntity();
    const auto found = std::find(flagChecks.begin(), flagChecks.end(), sender());
    if (!entity || found == flagChecks.end())
        return;
    const quint32 bit = quint32(1) << (found - flagChecks.begin());
    if (on)
        entity->spawnflagDefaults |= bit;
    else
        entity->spawnflagDefaults &= ~bit;
}

void VFGD::fgdEntityItemEntered(QTableWidgetItem *item)
{
    // The class's description, as a hint of what a row is.
    if (!fgd || !item || size_t(item->row()) >= fgd->entities.size()) {
        statusBar()->clearMessage();
        return;
    }
    const CFileFGD::Entity_t &entity = fgd->entities[size_t(item->row())];
    statusBar()->showMessage(QString::fromLatin1(entity.description).simplified());
}

void VFGD::fgdContextMenuRequested(const QPoint &pos)
{
    auto *table = qobject_cast<QTableWidget *>(sender());
    if (!table || table == flagTable)
        return;
    QTableWidgetItem *item = table->itemAt(pos);
    // The cells of the add row are inert and offer nothing.
    if (!item || !(item->flags() & Qt::ItemIsEnabled))
        return;
    if (table == entityTable && item->column() != 0)
        return;
    if (table == keyvalueTable && item->column() == 1)
        return;
    contextTable = table;
    contextRow = item->row();
    actionToggleReadonly->setEnabled(table == keyvalueTable);
    actionToggleSphere->setEnabled(table == keyvalueTable);
    contextMenu->popup(table->viewport()->mapToGlobal(pos));
}

void VFGD::fgdToggleReadonly()
{
    CFileFGD::Entity_t *entity = focusEntity();
    if (!entity || contextTable != keyvalueTable || contextRow < 0
        || size_t(contextRow) >= entity->keyvalues.size())
        return;
    CFileFGD::Keyvalue_t &keyvalue = entity->keyvalues[size_t(contextRow)];
    keyvalue.readonly = !keyvalue.readonly;
    updateKeyvalueIcon(keyvalueTable->item(contextRow, 0));
}

void VFGD::fgdToggleSphere()
{
    CFileFGD::Entity_t *entity = focusEntity();
    if (!entity || contextTable != keyvalueTable || contextRow < 0
        || size_t(contextRow) >= entity->keyvalues.size())
        return;
    // The entity's own list of sphere helpers stays as it was read.
    CFileFGD::Keyvalue_t &keyvalue = entity->keyvalues[size_t(contextRow)];
    keyvalue.sphere = !keyvalue.sphere;
    updateKeyvalueIcon(keyvalueTable->item(contextRow, 0));
}

void VFGD::fgdDelete()
{
    QTableWidget *table = contextTable;
    const int row = contextRow;
    contextTable = nullptr;
    contextRow = -1;
    if (!table || row < 0 || !fgd)
        return;
    auto removeRow = [table](int at) {
        const QSignalBlocker blocker(table);
        table->removeRow(at);
    };
    auto eraseAt = [row, &removeRow](auto &list) {
        if (size_t(row) >= list.size())
            return false;
        list.erase(list.begin() + row);
        removeRow(row);
        return true;
    };
    if (table == entityTable) {
        if (!eraseAt(fgd->entities))
            return;
        // The row that took the removed one's place gets the focus, if it is an entity.
        const QSignalBlocker blocker(entityTable);
        if (size_t(row) < fgd->entities.size()) {
            entityTable->setCurrentCell(row, 0);
            entityFocus = row;
        } else {
            entityTable->setCurrentItem(nullptr);
            entityFocus = -1;
        }
        currentEntityChanged();
        return;
    }
    CFileFGD::Entity_t *entity = focusEntity();
    if (!entity)
        return;
    if (table == keyvalueTable) {
        if (!eraseAt(entity->keyvalues))
            return;
        const QSignalBlocker blocker(keyvalueTable);
        if (size_t(row) < entity->keyvalues.size()) {
            keyvalueTable->setCurrentCell(row, 0);
            keyvalueFocus = row;
        } else {
            keyvalueTable->setCurrentItem(nullptr);
            keyvalueFocus = -1;
        }
        currentKeyvalueChanged();
    } else if (table == inputTable) {
        eraseAt(entity->inputs);
    } else if (table == outputTable) {
        eraseAt(entity->outputs);
    } else if (table == lineTable) {
        eraseAt(entity->lines);
    } else if (table == cylinderTable) {
        eraseAt(entity->cylinders);
    } else if (table == choicesTable) {
        if (CFileFGD::Keyvalue_t *keyvalue = focusKeyvalue())
            eraseAt(keyvalue->choices);
    }
}

void VFGD::swapTableRows(QTableWidget *table, int row, int otherRow, bool moveCurrent)
{
    if (!table || row == otherRow || row < 0 || otherRow < 0 || row >= table->rowCount()
        || otherRow >= table->rowCount())
        return;
    const int column = table->currentColumn();
    {
        const QSignalBlocker blocker(table);
        for (int c = 0; c < table->columnCount(); ++c) {
            QTableWidgetItem *first = table->takeItem(row, c);
            QTableWidgetItem *second = table->takeItem(otherRow, c);
            table->setItem(row, c, second);
            table->setItem(otherRow, c, first);
        }
    }
    if (moveCurrent)
        table->setCurrentCell(otherRow, column < 0 ? 0 : column);
}

void VFGD::fgdEntityMoveUp()
{
    // Only the table's rows move: the file keeps its order of entities.
    const int row = entityTable->currentRow();
    if (!fgd || row <= 0 || size_t(row) >= fgd->entities.size())
        return;
    swapTableRows(entityTable, row, row - 1, true);
}

void VFGD::fgdEntityMoveDown()
{
    const int row = entityTable->currentRow();
    if (!fgd || row < 0 || size_t(row) + 1 >= fgd->entities.size())
        return;
    swapTableRows(entityTable, row, row + 1, true);
}
