#pragma once

#include "util/QIconProvider.h"

#include <QFileDialog>
#include <QMainWindow>
#include <QMdiSubWindow>
#include <QPointer>
#include <QStringList>

class CFilePCF;
class CFileVBSP;
class CFileFGD;
class CFileVTF;
class QAction;
class QFile;
class QMdiArea;
class QMenu;
class QTextEdit;
class QTextStream;
class QToolBar;

// The one main window: menus, the tabbed workspace, the Output window, the
// shared file dialog and the factory of every tool window.
class ZIRK : public QMainWindow
{
    Q_OBJECT

public:
    static ZIRK *get(int argc = 0, char **argv = nullptr);

    // Where a path handed to the program goes, by its suffix.
    enum Route { RouteNone, RoutePackage, RouteParticle, RouteMaterial, RouteTexture };
    static Route routeForPath(const QString &path);

    // The screen rule of the constructor: true for the fixed 1024 by 576
    // rectangle, false for a maximized window.
    static bool useFixedGeometry(const QSize &screen, bool virtualDesktop);
    static QRect fixedGeometry();

    QMdiSubWindow *addWidgetToWorkspace(QWidget *widget, Qt::WindowFlags flags = Qt::WindowFlags());
    void logMessage(const QString &text, bool showInOutput);

    void configureFileDialog(QWidget *parent, const QString &title, const QString &filters,
                             const QString &directory);
    QString getExistingFile();
    QStringList getExistingFiles();
    QString getDirectory(bool write);
    QString getAnyFile();
    // The path of getAnyFile() given the chosen name filter.
    static QString applyFilterExtension(const QString &path, const QString &filter);

    QStringList getRecentFileList() const;
    QStringList getTemporaryFileList() const { return m_temporaryFiles; }
    QIconProvider &getIconProvider() { return m_iconProvider; }
    QStringList getArguments() const { return m_arguments; }

    QMdiArea *getWorkspace() const { return m_workspace; }
    QMdiSubWindow *getOutputWindow() const { return m_outputWindow; }
    QTextEdit *getOutputText() const { return m_outputText; }
    int getMessageCount() const { return m_messageCount; }
    QFileDialog *getFileDialog() const { return m_fileDialog; }

    static void msgHandler(QtMsgType type, const QMessageLogContext &context,
                           const QString &message);

public Q_SLOTS:
    void handleMessage(const QString &message);
    void registerRecentFile(const QString &path);
    void registerTemporaryFile(const QString &path);

    void showVPackage();
    void showVPackage(const QString &path);
    void showVMass();
    void showVParticle();
    void showVParticle(const QString &path);
    void showVParticle(CFilePCF *file);
    void showVVBSP();
    void showVVBSP(const QString &path);
    void showVVBSP(CFileVBSP *file);
    void showVVMT();
    void showVVMT(const QString &path);
    void showVVMT(const QByteArray &data, const QString &name);
    void showVFGD();
    void showVFGD(CFileFGD *file);
    void showVVTF();
    void showVVTF(const QString &path);
    void showVVTF(CFileVTF *file, const QString &name);
    void showVVTF(CFileVTF *file);
    void showVTFMass();
    void showVBSPInfo();
    void showVBSPInfo(const QString &path);
    void showVEntity();
    void showVEntity(const QString &path);
    void showVPakfile();
    void showVPakfile(const QString &path);
    void showENTSPY();
    void showGCFSCAPE();
    void showPAKRAT();
    void showOUTPUT();

    void options();
    void TODO();
    void aboutQt();
    void aboutZIRK();
    void doDummy1();
    void resetMessageCount(Qt::WindowStates oldState, Qt::WindowStates newState);

protected:
    void closeEvent(QCloseEvent *event) override;

private:
    ZIRK(int argc, char **argv);
    ~ZIRK() override;

    void setupGeometry();
    void createActions();
    void createMenus();
    void createToolBar();
    void createWorkspace();
    void createOutput();
    void createFileDialog();
    void clearFileDialogEntry();
    [[nodiscard]] bool execFileDialog();
    QAction *makeAction(const QString &text, const QString &icon);
    QMdiSubWindow *showSubwindowShared(QWidget *widget);
    static QSize wishedSize(const QWidget *widget);
    // At least the window's size hint and the size its widget asked for, inside
    // the workspace.
    void fitSubWindow(QMdiSubWindow *window, const QSize &wish);
    void handOverCloseKeys(QMdiSubWindow *window);
    void logUnavailable(const char *tool);
    void openTextureFromMessage(const QString &path);

    QStringList m_arguments;
    QIconProvider m_iconProvider;

    QMenu *m_fileMenu = nullptr;
    QAction *m_exitAction = nullptr;
    QMenu *m_toolsMenu = nullptr;
    QAction *m_packageAction = nullptr;
    QAction *m_particleAction = nullptr;
    QAction *m_vbspAction = nullptr;
    QAction *m_vmtAction = nullptr;
    QAction *m_massVmtAction = nullptr;
    QAction *m_vtfAction = nullptr;
    QAction *m_massVtfAction = nullptr;
    QAction *m_bspInfoAction = nullptr;
    QAction *m_entityAction = nullptr;
    QAction *m_pakfileAction = nullptr;
    QAction *m_outputAction = nullptr;
    QMenu *m_helpMenu = nullptr;
    QAction *m_aboutQtAction = nullptr;
    QAction *m_aboutAction = nullptr;
    QToolBar *m_toolBar = nullptr;

    QMdiArea *m_workspace = nullptr;
    QPointer<QMdiSubWindow> m_outputWindow;
    QTextEdit *m_outputText = nullptr;
    int m_messageCount = 0;
    QFile *m_logFile = nullptr;
    QTextStream *m_logStream = nullptr;
    QPointer<QFileDialog> m_fileDialog;
    QStringList m_recentFiles;
    QStringList m_temporaryFiles;
};
