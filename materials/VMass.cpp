#include "materials/VMass.h"

#include "app/ProgramSettings_t.h"
#include "app/ZIRK.h"
#include "materials/VMassListWidgetItem.h"
#include "util/QProgressDialogger.h"

#include <QComboBox>
#include <QElapsedTimer>
#include <QFileDialog>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QHash>
#include <QHeaderView>
#include <QIcon>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QMessageBox>
#include <QPointer>
#include <QPushButton>
#include <QSet>
#include <QTableWidget>
#include <QVBoxLayout>

namespace {

const char *const WindowTitle = "Mass VMT Editor";
const char *const InvalidType = "Invalid datatype specified for mass VMT editing.";
// Rows beyond this are not looked at when a file is checked for being listed already.
const int MaxLookedAtRows = 65535;
// The progress bar is repainted at most this often; the files go at disk speed in between.
const qint64 ProgressIntervalMs = 40;
const int ProxyRowHeight = 17;

QPushButton *makeButton(const QString &text, const QString &icon, const char *name)
{
    auto *button = new QPushButton(QIcon(QStringLiteral(":/resources/icons/") + icon), text);
    button->setObjectName(QLatin1String(name));
    return button;
}

QComboBox *makeCombo(const char *name, bool editable, const QStringList &entries)
{
    auto *combo = new QComboBox;
    combo->setObjectName(QLatin1String(name));
    combo->setEditable(editable);
    // A typed name is used as it stands; it does not become an entry of the list.
    combo->setInsertPolicy(QComboBox::NoInsert);
    combo->addItems(entries);
    combo->setMinimumContentsLength(16);
    combo->setSizeAdjustPolicy(QComboBox::AdjustToMinimumContentsLengthWithIcon);
    return combo;
}

} // namespace

VMass::VMass(QWidget *parent)
    : QWidget(parent)
{
    createWidgets();
    createLayout();
    createConnections();
    setWindowTitle(QString::fromLatin1(WindowTitle));
    setWindowIcon(QIcon(QStringLiteral(":/resources/icons/vmass")));
    setAttribute(Qt::WA_DeleteOnClose);
    fileListUpdated();
}

VMass::~VMass() = default;

void VMass::createWidgets()
{
    ProgramSettings_t *settings = ProgramSettings_t::get();
    fileList = new QListWidget;
    fileList->setObjectName(QStringLiteral("fileList"));
    fileList->setSelectionMode(QAbstractItemView::ExtendedSelection);
    addFilesButton = makeButton(QStringLiteral("Add"), QStringLiteral("add"), "addFilesButton");
    removeFilesButton
        = makeButton(QStringLiteral("Remove"), QStringLiteral("delete"), "removeFilesButton");

    shaderCombo = makeCombo("shaderCombo", true, *settings->shaderNames);
    shaderCombo->setCurrentIndex(-1);
    evaluateButton
        = makeButton(QStringLiteral("Evaluate"), QStringLiteral("tick"), "evaluateButton");

    keyCombo = makeCombo("keyCombo", true, *settings->parameterNames);
    keyCombo->setCurrentIndex(-1);
    valueEdit = new QLineEdit;
    valueEdit->setObjectName(QStringLiteral("valueEdit"));
    addParameterButton
        = makeButton(QStringLiteral("Add"), QStringLiteral("add"), "addParameterButton");
    removeParameterButton
        = makeButton(QStringLiteral("Remove"), QStringLiteral("delete"), "removeParameterButton");
    asteriskCombo
        = makeCombo("asteriskCombo", false,
                    QStringList { QStringLiteral("File path relative to \"/materials/\"") }
                        + *settings->parameterNames);

    proxyCombo = makeCombo("proxyCombo", true, QStringList { QString() } + *settings->proxyNames);
    proxyTable = new QTableWidget(0, 2);
    proxyTable->setObjectName(QStringLiteral("proxyTable"));
    proxyTable->setHorizontalHeaderLabels({ QStringLiteral("Key"), QStringLiteral("Value") });
    proxyTable->horizontalHeader()->setSectionResizeMode(0, QHeaderView::ResizeToContents);
    proxyTable->horizontalHeader()->setStretchLastSection(true);
    proxyTable->verticalHeader()->hide();
    proxyTable->verticalHeader()->setMinimumSectionSize(ProxyRowHeight);
    addProxyButton = makeButton(QStringLiteral("Add"), QStringLiteral("add"), "addProxyButton");
    removeProxyButton
        = makeButton(QStringLiteral("Remove"), QStringLiteral("delete"), "removeProxyButton");
}

void VMass::createLayout()
{
    auto *fileButtons = new QHBoxLayout;
    fileButtons->addWidget(addFilesButton);
    fileButtons->addWidget(removeFilesButton);
    fileButtons->addStretch(1);
    auto *files = new QVBoxLayout;
    files->addWidget(fileList, 1);
    files->addLayout(fileButtons);

    auto *parameterFields = new QHBoxLayout;
    parameterFields->addWidget(keyCombo, 1);
    parameterFields->addWidget(valueEdit, 1);
    auto *parameterButtons = new QHBoxLayout;
    parameterButtons->addWidget(addParameterButton);
    parameterButtons->addWidget(removeParameterButton);
    auto *proxyButtons = new QHBoxLayout;
    proxyButtons->addWidget(addProxyButton);
    proxyButtons->addWidget(removeProxyButton);

    auto *controls = new QGridLayout;
    controls->addWidget(new QLabel(QStringLiteral("Shader:")), 0, 0);
    controls->addWidget(shaderCombo, 0, 1);
    controls->addWidget(evaluateButton, 0, 2);
    controls->addWidget(new QLabel(QStringLiteral("Key / Value:")), 1, 0);
    controls->addLayout(parameterFields, 1, 1);
    controls->addLayout(parameterButtons, 1, 2);
    controls->addWidget(new QLabel(QStringLiteral("Asterisk Value:")), 2, 0);
    controls->addWidget(asteriskCombo, 2, 1);
    controls->addWidget(new QLabel(QStringLiteral("Proxy:")), 3, 0);
    controls->addWidget(proxyCombo, 3, 1);
    controls->addLayout(proxyButtons, 3, 2);
    controls->addWidget(proxyTable, 4, 1, 1, 2);
    controls->setRowStretch(4, 1);
    controls->setColumnStretch(1, 1);

    auto *layout = new QHBoxLayout(this);
    layout->addLayout(files, 1);
    layout->addLayout(controls, 2);
}

void VMass::createConnections()
{
    connect(addFilesButton, &QPushButton::clicked, this, qOverload<>(&VMass::addFiles));
    connect(removeFilesButton, &QPushButton::clicked, this, &VMass::removeFiles);
    connect(evaluateButton, &QPushButton::clicked, this, &VMass::evalShader);
    connect(addParameterButton, &QPushButton::clicked, this, &VMass::addParameter);
    connect(removeParameterButton, &QPushButton::clicked, this, &VMass::removeParameter);
    connect(addProxyButton, &QPushButton::clicked, this, &VMass::addProxy);
    connect(removeProxyButton, &QPushButton::clicked, this, &VMass::removeProxy);
    // A typed name gets its parameters as soon as it is a known one; values typed into the
    // table stay while the proxy does not change.
    connect(proxyCombo, &QComboBox::currentIndexChanged, this, [this](int index) {
        if (index != lastProxyRow)
            updateProxyTable(index);
    });
    connect(proxyCombo, &QComboBox::editTextChanged, this, [this](const QString &text) {
        const int known = proxyCombo->findText(text);
        if (known != lastProxyRow)
            updateProxyTable(known);
    });
    connect(fileList->model(), &QAbstractItemModel::rowsInserted, this, &VMass::fileListUpdated);
    connect(fileList->model(), &QAbstractItemModel::rowsRemoved, this, &VMass::fileListUpdated);
    connect(fileList, &QListWidget::itemSelectionChanged, this, &VMass::fileListUpdated);
    for (QComboBox *combo : { shaderCombo, keyCombo, proxyCombo })
        connect(combo, &QComboBox::currentTextChanged, this, &VMass::fileListUpdated);
}

void VMass::fileListUpdated()
{
    const bool files = fileList->count() > 0;
    removeFilesButton->setEnabled(!fileList->selectedItems().isEmpty());
    // An add needs something to add; a remove with an empty box means "all".
    evaluateButton->setEnabled(files && !shaderCombo->currentText().isEmpty());
    addParameterButton->setEnabled(files && !keyCombo->currentText().isEmpty());
    addProxyButton->setEnabled(files && !proxyCombo->currentText().isEmpty());
    removeParameterButton->setEnabled(files);
    removeProxyButton->setEnabled(files);
}

void VMass::updateProxyTable(int index)
{
    lastProxyRow = index;
    proxyTable->setRowCount(0);
    const QStringList *extras = ProgramSettings_t::get()->proxyExtras;
    if (index <= 0 || index > extras->size())
        return;
    const QStringList keys = extras->at(index - 1).split(QLatin1Char(':'), Qt::SkipEmptyParts);
    proxyTable->setRowCount(int(keys.size()));
    for (int row = 0; row < keys.size(); ++row) {
        proxyTable->setItem(row, 0, new QTableWidgetItem(keys.at(row)));
        proxyTable->setItem(row, 1, new QTableWidgetItem);
        proxyTable->setRowHeight(row, ProxyRowHeight);
    }
}

QList<CVMTBatch::Entry_t> VMass::entries() const
{
    QList<CVMTBatch::Entry_t> list;
    list.reserve(fileList->count());
    for (int row = 0; row < fileList->count(); ++row) {
        const auto *item = static_cast<const VMassListWidgetItem *>(fileList->item(row));
        list.append({ item->path, item->relativePath });
    }
    return list;
}

QProgressDialogger *VMass::startProgress(int maximum)
{
    auto *dialog
        = new QProgressDialogger(QStringLiteral("Processing..."), 0, maximum, QString(), this);
    dialog->setObjectName(QStringLiteral("massProgress"));
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    dialog->setMinimumWidth(500);
    dialog->setModal(true);
    // Centred over this window on the screen (a dialog is placed in global coordinates).
    dialog->adjustSize();
    dialog->move(mapToGlobal(rect().center()) - dialog->rect().center());
    dialog->show();
    return dialog;
}

void VMass::addFiles()
{
    ZIRK *zirk = ZIRK::get();
    zirk->configureFileDialog(this, QStringLiteral("Select Files"),
                              QStringLiteral("Valve Material Type (*.vmt);;Valve Texture File "
                                             "(*.vtf);;Valve Materials (*.vmt *.vtf)"),
                              QString());
    // Both kinds are taken, so both are shown at first.
    zirk->getFileDialog()->selectNameFilter(QStringLiteral("Valve Materials (*.vmt *.vtf)"));
    addFiles(zirk->getExistingFiles());
}

void VMass::addFiles(const QStringList &paths)
{
    if (paths.isEmpty())
        return;
    QPointer<QProgressDialogger> dialog = startProgress(int(paths.size()));
    // Nothing to read: the dialog goes away by itself unless something was logged.
    dialog->setCloseWhenFinished(true);
    auto log = [&dialog](const QString &line, bool isError) {
        if (!dialog)
            return;
        dialog->setCloseWhenFinished(false);
        dialog->logMessage(line, isError);
    };

    QHash<QString, int> listed;
    for (int row = 0; row < qMin(fileList->count(), MaxLookedAtRows); ++row)
        listed.insert(static_cast<VMassListWidgetItem *>(fileList->item(row))->path, row);
    QElapsedTimer shown;
    shown.start();
    for (qsizetype i = 0; i < paths.size(); ++i) {
        CVMTBatch::Entry_t entry;
        QString message;
        if (!CVMTBatch::entryForPath(paths.at(i), entry, message)) {
            log(message, true);
        } else if (listed.contains(entry.path)) {
            log(QStringLiteral("File \"%1\" already listed.").arg(entry.path), false);
        } else {
            if (fileList->count() < MaxLookedAtRows)
                listed.insert(entry.path, fileList->count());
            new VMassListWidgetItem(entry.path, entry.relativePath, fileList);
        }
        if (dialog && (i + 1 == paths.size() || shown.elapsed() >= ProgressIntervalMs)) {
            if (i + 1 == paths.size())
                dialog->setLabelText(QStringLiteral("Operation complete."));
            dialog->setValue(int(i + 1));
            shown.restart();
        }
    }
    if (dialog) {
        dialog->buttonOk()->setDefault(true);
        dialog->buttonOk()->setFocus();
    }
}

void VMass::removeFiles()
{
    // Deleting an item takes it out of the list; each selected item goes once.
    const QList<QListWidgetItem *> selected = fileList->selectedItems();
    for (QListWidgetItem *item : selected)
        delete item;
}

void VMass::evalShader()
{
    addData(CVMTBatch::Shader);
}

void VMass::addParameter()
{
    addData(CVMTBatch::Parameter);
}

void VMass::addProxy()
{
    addData(CVMTBatch::Proxy);
}

void VMass::removeParameter()
{
    removeData(CVMTBatch::Parameter);
}

void VMass::removeProxy()
{
    removeData(CVMTBatch::Proxy);
}

CVMTBatch::Options_t VMass::options(AddDataType_t type) const
{
    CVMTBatch::Options_t options;
    options.type = type;
    options.shader = shaderCombo->currentText();
    options.key = keyCombo->currentText();
    options.value = valueEdit->text();
    if (asteriskCombo->currentIndex() > 0)
        options.asteriskKey = asteriskCombo->currentText();
    options.proxyName = proxyCombo->currentText();
    for (int row = 0; row < proxyTable->rowCount(); ++row) {
        const QTableWidgetItem *key = proxyTable->item(row, 0);
        const QTableWidgetItem *value = proxyTable->item(row, 1);
        options.proxyKeys.append(key ? key->text() : QString());
        options.proxyValues.append(value ? value->text() : QString());
    }
    return options;
}

void VMass::runBatch(const CVMTBatch::Options_t &options)
{
    const QList<CVMTBatch::Entry_t> list = entries();
    QPointer<QProgressDialogger> dialog = startProgress(int(list.size()));
    QElapsedTimer shown;
    shown.start();
    const CVMTBatch::Status_t status = CVMTBatch::run(
        list, options,
        [&dialog](const QString &line, bool isError) {
            if (dialog)
                dialog->logMessage(line, isError);
        },
        [&](int done) {
            if (!dialog)
                return false;
            if (done < list.size() && shown.elapsed() < ProgressIntervalMs)
                return !dialog->isCanceled();
            dialog->setValue(done);
            shown.restart();
            return dialog && !dialog->isCanceled();
        });
    if (!dialog)
        return;
    switch (status) {
    case CVMTBatch::Complete:
        dialog->setLabelText(QStringLiteral("Operation complete."));
        break;
    case CVMTBatch::Failed:
        dialog->setLabelText(QStringLiteral("Operation failed."));
        break;
    case CVMTBatch::Canceled:
        dialog->setLabelText(QStringLiteral("Operation canceled."));
        break;
    }
    dialog->setValue(dialog->maximum());
    // The run is over: Return may close the log now.
    dialog->buttonOk()->setDefault(true);
    dialog->buttonOk()->setFocus();
}

void VMass::addData(int type)
{
    runBatch(options(AddDataType_t(type)));
}

void VMass::removeData(int type)
{
    if (fileList->count() == 0)
        return;
    QString question;
    switch (type) {
    case CVMTBatch::Parameter:
        if (keyCombo->currentText().isEmpty())
            question = QStringLiteral("Remove all parameters?");
        else if (!valueEdit->text().isEmpty())
            question = QStringLiteral("Remove parameter?");
        else
            question = QStringLiteral("Remove all parameters of type \"%1\"?")
                           .arg(keyCombo->currentText());
        break;
    case CVMTBatch::Proxy:
        question = proxyCombo->currentText().isEmpty()
            ? QStringLiteral("Remove all proxies?")
            : QStringLiteral("Remove all proxies of type \"") + proxyCombo->currentText();
        break;
    default:
        QMessageBox::warning(this, QString::fromLatin1(WindowTitle),
                             QString::fromLatin1(InvalidType));
        return;
    }
    if (QMessageBox::warning(this, QString::fromLatin1(WindowTitle), question,
                             QMessageBox::Yes | QMessageBox::No, QMessageBox::No)
        != QMessageBox::Yes)
        return;
    CVMTBatch::Options_t remove = options(AddDataType_t(type));
    remove.remove = true;
    runBatch(remove);
}
