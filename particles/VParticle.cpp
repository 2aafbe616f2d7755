#include "particles/VParticle.h"

#include "app/ProgramSettings_t.h"
#include "app/ZIRK.h"
#include "particles/CDmxElement.h"
#include "particles/VParticleTreeWidgetItem.h"

#include <QAction>
#include <QCloseEvent>
#include <QFileInfo>
#include <QHeaderView>
#include <QIcon>
#include <QInputDialog>
#include <QMdiSubWindow>
#include <QMenuBar>
#include <QMessageBox>
#include <QTreeWidget>

namespace {

const char *const EditorTitle = "Particle Editor";
const char *const ParticleFilter = "Particle Configuration File (*.pcf)";

} // namespace

VParticle::VParticle(QWidget *parent)
    : QMainWindow(parent)
{
    setObjectName(QStringLiteral("VParticle"));
    setWindowIcon(QIcon(QStringLiteral(":/resources/icons/particles.png")));
    createActions();
    createMenus();
    createTree();
    updateTitle();
    updateFormatTicks();
}

VParticle::VParticle(CFilePCF *newFile, QWidget *parent)
    : VParticle(parent)
{
    if (newFile)
        particleOpenShared(newFile, QString());
}

VParticle::~VParticle()
{
    // Rows refer to the file's attributes: they go first.
    tree->clear();
}

CDmxAttribute *VParticle::wrapData(CDmxAttribute::ParticleAttributeType_t type, const void *value,
                                   const QString &name)
{
    auto *attribute = new CDmxAttribute;
    attribute->name = name;
    attribute->ownsValue = false;
    if (!attribute->setValue(type, value)) {
        delete attribute;
        return nullptr;
    }
    return attribute;
}

CFilePCF::ParticleFormatVersion_t VParticle::promptParticleFormatVersion(QWidget *parent,
                                                                         const QString &title)
{
    QStringList names;
    for (int version = CFilePCF::PCF_ORANGEBOX; version <= CFilePCF::PCF_L4D2; ++version)
        names << CFilePCF::formatVersionToDisplayString(CFilePCF::ParticleFormatVersion_t(version));
    bool ok = false;
    const QString chosen
        = QInputDialog::getItem(parent, title, QStringLiteral("Version:"), names, 0, false, &ok);
    if (!ok)
        return CFilePCF::PCF_INVALID;
    return CFilePCF::ParticleFormatVersion_t(names.indexOf(chosen) + 1);
}

CDmxElement *VParticle::templateSystem(int version, const QString &name)
{
    const QList<CFilePCF *> *templates = ProgramSettings_t::get()->particleTemplates;
    if (version <= 0 || version >= templates->size() || !templates->at(version))
        return nullptr;
    return templates->at(version)->findSystemByName(name);
}

void VParticle::createActions()
{
    auto make = [this](const QString &text, const char *name, auto slot) {
        auto *action = new QAction(text, this);
        action->setObjectName(QLatin1String(name));
        connect(action, &QAction::triggered, this, slot);
        return action;
    };
    actionNew = make(QStringLiteral("New"), "actionNew", &VParticle::particleNew);
    actionNew->setShortcut(QKeySequence::New);
    actionOpen
        = make(QStringLiteral("Open..."), "actionOpen", qOverload<>(&VParticle::particleOpen));
    actionOpen->setShortcut(QKeySequence::Open);
    actionSave = make(QStringLiteral("Save"), "actionSave", &VParticle::particleSave);
    actionSave->setShortcut(QKeySequence::Save);
    actionSaveAs = make(QStringLiteral("Save As..."), "actionSaveAs", &VParticle::particleSaveAs);
    actionSaveCopyAs = make(QStringLiteral("Save Copy As..."), "actionSaveCopyAs",
                            &VParticle::particleSaveCopyAs);
    actionSaveAs->setShortcuts(QKeySequence::SaveAs);
    actionExit = make(QStringLiteral("Exit"), "actionExit", &VParticle::closeFrame);
    actionExit->setShortcuts(QKeySequence::Close);

    actionFormats[1] = make(CFilePCF::formatVersionToDisplayString(CFilePCF::PCF_ORANGEBOX),
                            "actionFormatOrangeBox", &VParticle::formatOrangeBox);
    actionFormats[2] = make(CFilePCF::formatVersionToDisplayString(CFilePCF::PCF_L4D),
                            "actionFormatL4D", &VParticle::formatL4D);
    actionFormats[3] = make(CFilePCF::formatVersionToDisplayString(CFilePCF::PCF_L4D2),
                            "actionFormatL4D2", &VParticle::formatL4D2);

    actionReplot = make(QStringLiteral("Replot Tree"), "actionReplot", &VParticle::replotTree);
    actionReplot->setShortcut(QKeySequence::Refresh);
    actionDictionary = make(QStringLiteral("View String Dictionary"), "actionDictionary",
                            &VParticle::particleShowStringDictionary);
    actionFind
        = make(QStringLiteral("Find System..."), "actionFind", &VParticle::particleFindSystem);
    actionExport = make(QStringLiteral("Export..."), "actionExport", &VParticle::particleExport);
    actionImport = make(QStringLiteral("Import..."), "actionImport", &VParticle::particleImport);
    actionManifest = make(QStringLiteral("Generate Map Manifest"), "actionManifest",
                          &VParticle::particleGenerateMapManifest);
    actionMassFormat = make(QStringLiteral("Mass Format..."), "actionMassFormat",
                            &VParticle::particleMassFormat);
    actionGuids = make(QStringLiteral("Multiple files..."), "actionGuids",
                       &VParticle::particleEnsureUniqueGUIDmultiple);
}

void VParticle::createMenus()
{
    fileMenu = menuBar()->addMenu(QStringLiteral("File"));
    fileMenu->addActions({ actionNew, actionOpen, actionSave, actionSaveAs, actionSaveCopyAs });
    fileMenu->addSeparator();
    fileMenu->addAction(actionExit);

    formatMenu = menuBar()->addMenu(QStringLiteral("Format"));
    formatMenu->addActions({ actionFormats[1], actionFormats[2], actionFormats[3] });

    toolsMenu = menuBar()->addMenu(QStringLiteral("Tools"));
    toolsMenu->addActions({ actionReplot, actionDictionary });
    toolsMenu->addSeparator();
    toolsMenu->addActions({ actionFind, actionExport, actionImport });
    toolsMenu->addSeparator();
    toolsMenu->addActions({ actionManifest, actionMassFormat });
    guidMenu = toolsMenu->addMenu(QStringLiteral("Ensure GUID Uniqueness"));
    guidMenu->addAction(actionGuids);
}

void VParticle::createTree()
{
    tree = new QTreeWidget(this);
    tree->setObjectName(QStringLiteral("particleTree"));
    tree->setColumnCount(3);
    tree->setHeaderLabels(
        { QStringLiteral("Name"), QStringLiteral("Data Type"), QStringLiteral("Value") });
    tree->setContextMenuPolicy(Qt::CustomContextMenu);
    tree->setEditTriggers(QAbstractItemView::NoEditTriggers);
    tree->setUniformRowHeights(true);
    tree->setAlternatingRowColors(true);
    tree->header()->resizeSection(0, 260);
    tree->header()->resizeSection(1, 130);
    connect(tree, &QTreeWidget::customContextMenuRequested, this, &VParticle::showContextMenu);
    connect(tree, &QTreeWidget::itemDoubleClicked, this, &VParticle::startValueEdit);
    connect(tree, &QTreeWidget::itemChanged, this, &VParticle::valueEdited);
    setCentralWidget(tree);
}

void VParticle::closeFrame()
{
    // Inside the workspace the frame goes too, once this window agreed to close.
    if (auto *frame = qobject_cast<QMdiSubWindow *>(parentWidget()))
        frame->close();
    else
        close();
}

void VParticle::updateTitle()
{
    if (!file) {
        setWindowTitle(QString::fromLatin1(EditorTitle));
        return;
    }
    const QString name
        = filePath.isEmpty() ? QStringLiteral("Untitled") : QFileInfo(filePath).baseName();
    setWindowTitle(name + QStringLiteral("[*]"));
}

void VParticle::updateFormatTicks()
{
    for (int version = CFilePCF::PCF_ORANGEBOX; version <= CFilePCF::PCF_L4D2; ++version) {
        const bool current = file && file->version == version;
        actionFormats[version]->setIcon(QIcon(current ? QStringLiteral(":/resources/icons/tick")
                                                      : QStringLiteral(":/resources/icons/blank")));
        actionFormats[version]->setEnabled(bool(file));
    }
    for (QAction *action : { actionSave, actionSaveAs, actionSaveCopyAs, actionReplot,
                             actionDictionary, actionExport, actionImport })
        action->setEnabled(bool(file));
}

void VParticle::warn(const QString &text)
{
    QMessageBox::warning(this, windowTitle().remove(QStringLiteral("[*]")), text);
}

bool VParticle::pickParticleFile(const QString &title, bool save, QString &path)
{
    ZIRK *zirk = ZIRK::get();
    zirk->configureFileDialog(this, title, QString::fromLatin1(ParticleFilter), QString());
    path = save ? zirk->getAnyFile() : zirk->getExistingFile();
    return !path.isEmpty();
}

void VParticle::particleNew()
{
    const CFilePCF::ParticleFormatVersion_t version
        = promptParticleFormatVersion(this, QStringLiteral("New Particle"));
    if (version == CFilePCF::PCF_INVALID)
        return;
    CFilePCF *made = CFilePCF::newPCF(version);
    if (file)
        ZIRK::get()->showVParticle(made);
    else
        particleOpenShared(made, QString());
}

void VParticle::particleOpen()
{
    QString path;
    if (!pickParticleFile(QStringLiteral("Open PCF"), false, path))
        return;
    // A failure has been shown already.
    if (file)
        ZIRK::get()->showVParticle(path);
    else
        (void)particleOpen(path);
}

bool VParticle::particleOpen(const QString &path)
{
    auto loaded = std::make_unique<CFilePCF>();
    if (!delegate.readFile(path, loaded.get())) {
        warn(delegate.getLastError());
        return false;
    }
    particleOpenShared(loaded.release(), path);
    return true;
}

void VParticle::particleOpenShared(CFilePCF *newFile, const QString &path)
{
    tree->clear();
    currentRow = nullptr;
    file.reset(newFile);
    filePath = path;
    if (file)
        setTreeContents(*file);
    updateTitle();
    updateFormatTicks();
    setWindowModified(false);
}

bool VParticle::particleSaveShared(const QString &path, bool copy)
{
    if (!file)
        return false;
    if (!delegate.writeFile(path, file.get(), file->version)) {
        warn(delegate.getLastError());
        return false;
    }
    if (!copy) {
        filePath = path;
        updateTitle();
        setWindowModified(false);
    }
    return true;
}

void VParticle::particleSave()
{
    if (!file)
        return;
    // A failure has been shown already, and leaves the window modified.
    if (filePath.isEmpty())
        particleSaveAs();
    else
        (void)particleSaveShared(filePath, false);
}

void VParticle::particleSaveAs()
{
    QString path;
    if (file && pickParticleFile(QStringLiteral("Save PCF"), true, path))
        (void)particleSaveShared(path, false);
}

void VParticle::particleSaveCopyAs()
{
    QString path;
    if (file && pickParticleFile(QStringLiteral("Save PCF Copy"), true, path))
        (void)particleSaveShared(path, true);
}

void VParticle::formatOrangeBox()
{
    formatShared(CFilePCF::PCF_ORANGEBOX);
}

void VParticle::formatL4D()
{
    formatShared(CFilePCF::PCF_L4D);
}

void VParticle::formatL4D2()
{
    formatShared(CFilePCF::PCF_L4D2);
}

void VParticle::formatShared(CFilePCF::ParticleFormatVersion_t version)
{
    if (!file)
        return;
    if (const char *error = delegate.formatAsVersion(
            file.get(), version, templateSystem(version, QStringLiteral("default")))) {
        warn(QString::fromLatin1(error));
        return;
    }
    file->version = version;
    updateFormatTicks();
    replotTree();
    setWindowModified(true);
}

void VParticle::closeEvent(QCloseEvent *event)
{
    if (!isWindowModified()) {
        event->accept();
        return;
    }
    QMessageBox box(QMessageBox::Warning, windowTitle().remove(QStringLiteral("[*]")),
                    QStringLiteral("Data has been modified."),
                    QMessageBox::Save | QMessageBox::Discard | QMessageBox::Cancel, this);
    box.setInformativeText(QStringLiteral("Do you want to save your changes?"));
    box.setDefaultButton(QMessageBox::Save);
    switch (box.exec()) {
    case QMessageBox::Save:
        particleSave();
        if (isWindowModified()) {
            event->ignore();
            return;
        }
        break;
    case QMessageBox::Discard:
        break;
    default:
        event->ignore();
        return;
    }
    event->accept();
}
