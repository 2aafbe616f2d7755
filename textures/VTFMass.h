#pragma once

#include "textures/VTF.h"

#include <QRegExp>
#include <QString>
#include <QWidget>

class CFileVTF;
class QCheckBox;
class QComboBox;
class QGroupBox;
class QLabel;
class QLineEdit;
class QListWidget;
class QProgressBar;
class QPushButton;
class QRadioButton;
class QStackedWidget;
class QTextEdit;
class VVTFResizeParametersBox;

// The "Mass VTF Editor": walks a source directory and converts images to VTF, modifies
// existing VTFs, or converts VTFs to other image formats, one file at a time on the GUI
// thread, with a line in the log for each.
class VTFMass : public QWidget
{
    Q_OBJECT

public:
    enum Mode { FromOther, ModifyExisting, ToOther };
    enum FilterMode { Substring, Wildcard, RegEx };
    enum Page { BasicPage, FromOtherPage, ExistingPage, ToOtherPage, LogPage };
    enum ResourceAction { ResourceApply, ResourceSkip, ResourceRemove };

    explicit VTFMass(QWidget *parent = nullptr);
    ~VTFMass() override;

    Mode mode() const;
    bool isRunning() const { return running; }
    QString logText() const;

    // Controls, reachable for tests.
    QLineEdit *sourceEdit = nullptr;
    QLineEdit *targetEdit = nullptr;
    QPushButton *sourceBrowse = nullptr;
    QPushButton *targetBrowse = nullptr;
    QLineEdit *filterEdit = nullptr;
    QComboBox *filterModeCombo = nullptr;
    QCheckBox *recursiveCheck = nullptr;
    QCheckBox *preserveCheck = nullptr;
    QCheckBox *overwriteCheck = nullptr;
    QComboBox *modeCombo = nullptr;

    // Settings of a conversion to VTF and of a modification.
    QComboBox *versionCombo[2] = {};
    QComboBox *formatCombo[2] = {};
    QComboBox *thumbnailCombo[2] = {};
    QGroupBox *setVersionGroup = nullptr;
    QGroupBox *setFormatGroup = nullptr;
    QGroupBox *setThumbnailGroup = nullptr;
    QGroupBox *flagsGroup[2] = {};
    QListWidget *flagLists[2] = {};
    QCheckBox *mipmapsCheck = nullptr;
    QCheckBox *reflectivityCheck = nullptr;
    VVTFResizeParametersBox *resizeBox = nullptr;
    QRadioButton *lodActions[2][3] = {};
    QLineEdit *lodEdits[2][4] = {};
    QRadioButton *ts0Actions[2][3] = {};
    QLineEdit *ts0Edits[2] = {};

    // Settings of a conversion to images.
    QComboBox *imageFormatCombo = nullptr;
    QCheckBox *allMipmapsCheck = nullptr;
    QCheckBox *allFramesCheck = nullptr;
    QCheckBox *allFacesCheck = nullptr;
    QCheckBox *allSlicesCheck = nullptr;

    QListWidget *pageList = nullptr;
    QStackedWidget *pages = nullptr;
    QTextEdit *log = nullptr;
    QLabel *progressLabel = nullptr;
    QProgressBar *progressBar = nullptr;
    QPushButton *controlButton = nullptr;

public Q_SLOTS:
    void cycleFormatControl();
    void startFormat();

private:
    QWidget *buildBasicPage();
    QWidget *buildFromOtherPage();
    QWidget *buildExistingPage();
    QWidget *buildToOtherPage();
    QWidget *buildResourcesGroup(int set);
    QGroupBox *buildFlagsGroup(int set);
    void setSettingsEnabled(bool enabled);
    void showModePage();
    void finishRun();
    void closeEvent(QCloseEvent *event) override;
    void logLine(const QString &text);

    bool convertImage(const QString &path, const QString &target, const QString &shown,
                      const QString &targetShown);
    bool modifyTexture(const QString &path, const QString &target, const QString &shown,
                       const QString &targetShown);
    bool exportTexture(const QString &path, const QString &targetDir, const QString &shown,
                       const QString &targetShownDir);
    void applyResources(CFileVTF &vtf, int set);
    void applyFlags(CFileVTF &vtf, int set);
    bool writeTexture(CFileVTF &vtf, const QString &target, const QString &targetShown);

    bool running = false;
    bool cancelFlag = false;
};
