#pragma once

#include "materials/CVMTBatch.h"

#include <QList>
#include <QString>
#include <QWidget>

class QComboBox;
class QLineEdit;
class QListWidget;
class QProgressDialogger;
class QPushButton;
class QTableWidget;

// The "Mass VMT Editor": a list of materials and one change to apply to all of them (shader,
// parameter, proxy). The work is CVMTBatch's; this window gathers the options and shows the
// progress and the log.
class VMass : public QWidget
{
    Q_OBJECT

public:
    using AddDataType_t = CVMTBatch::AddDataType_t;

    explicit VMass(QWidget *parent = nullptr);
    ~VMass() override;

    // The materials of the list, in list order.
    QList<CVMTBatch::Entry_t> entries() const;
    // Adds the chosen files as the "Add" button does after its dialog.
    void addFiles(const QStringList &paths);

public Q_SLOTS:
    void addFiles();
    void removeFiles();
    void evalShader();
    void addParameter();
    void addProxy();
    void removeParameter();
    void removeProxy();
    void fileListUpdated();
    void updateProxyTable(int index);

private:
    void createWidgets();
    void createLayout();
    void createConnections();
    void addData(int type);
    void removeData(int type);
    CVMTBatch::Options_t options(AddDataType_t type) const;
    QProgressDialogger *startProgress(int maximum);
    void runBatch(const CVMTBatch::Options_t &options);

    QListWidget *fileList = nullptr;
    QPushButton *addFilesButton = nullptr;
    QPushButton *removeFilesButton = nullptr;
    QComboBox *shaderCombo = nullptr;
    QPushButton *evaluateButton = nullptr;
    QComboBox *keyCombo = nullptr;
    QLineEdit *valueEdit = nullptr;
    QPushButton *addParameterButton = nullptr;
    QPushButton *removeParameterButton = nullptr;
    QComboBox *asteriskCombo = nullptr;
    QComboBox *proxyCombo = nullptr;
    QTableWidget *proxyTable = nullptr;
    QPushButton *addProxyButton = nullptr;
    QPushButton *removeProxyButton = nullptr;
    int lastProxyRow = 0; // the proxy entry the table shows
};
