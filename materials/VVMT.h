#pragma once

#include <QByteArray>
#include <QMainWindow>
#include <QModelIndex>
#include <QString>
#include <QStringList>

class QAction;
class QListWidget;
class QMenu;
class QSplitter;
class QTextEdit;
class QToolBar;
class VVMTTabWidget;

// The "VMT Editor": one material as plain text, beside tabs that list the shaders, parameters
// and proxies of the settings. A click on an entry edits the text with the line routines.
class VVMT : public QMainWindow
{
    Q_OBJECT

public:
    explicit VVMT(QWidget *parent = nullptr);
    explicit VVMT(const QString &path, QWidget *parent = nullptr);
    // A material from memory, such as a package entry: the bytes up to the first NUL, titled
    // after name. The window has no path, so that Save asks for one.
    VVMT(const QByteArray &data, const QString &name, QWidget *parent = nullptr);
    ~VVMT() override;

    // The line routines on a material's text (see VMTText); the adding ones return null or a
    // warning. removeProxy's lists are accepted and not used.
    static const char *addShader(QString &text, const QString &shader);
    static const char *addParameter(QString &text, const QString &key, const QString &value);
    static const char *addProxy(QString &text, const QString &name, const QStringList &keys,
                                const QStringList *values);
    static void removeProxy(QString &text, const QString &name, const QStringList *keys,
                            const QStringList *values);

    // Loads path here if this window is new and empty, and otherwise opens it in a new window.
    void vmtOpen(const QString &path);

    QString getFilePath() const { return filePath; }
    QString getFileName() const { return fileName; }

public Q_SLOTS:
    void vmtNew();
    void vmtOpen();
    virtual void vmtSave();
    void vmtSaveAs();
    void vmtModified();
    void addShader(const QModelIndex &index);
    void addParameter(const QModelIndex &index);
    void addProxy(const QModelIndex &index);

protected:
    void closeEvent(QCloseEvent *event) override;

private:
    void createWidgets();
    void createActions();
    void createMenus();
    void createToolBar();
    void createLayout();
    QAction *makeAction(const QString &text, const QString &icon, const char *name);
    void vmtLoad(const QString &path);
    void vmtSaveShared();
    // Runs a routine on the whole text and puts the result back.
    template<typename Routine> void editText(Routine routine);

    VVMTTabWidget *tabs = nullptr;
    QSplitter *splitter = nullptr;
    QListWidget *shaderList = nullptr;
    QListWidget *parameterList = nullptr;
    QListWidget *proxyList = nullptr;
    QTextEdit *textEdit = nullptr;

    QMenu *fileMenu = nullptr;
    QMenu *editMenu = nullptr;
    QToolBar *toolBar = nullptr;
    QAction *newAction = nullptr;
    QAction *openAction = nullptr;
    QAction *saveAction = nullptr;
    QAction *saveAsAction = nullptr;
    QAction *exitAction = nullptr;
    QAction *undoAction = nullptr;
    QAction *redoAction = nullptr;
    QAction *cutAction = nullptr;
    QAction *copyAction = nullptr;
    QAction *pasteAction = nullptr;
    QAction *selectAllAction = nullptr;

    QString fileName;
    QString filePath;
};
