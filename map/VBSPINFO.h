#pragma once

#include "map/CBspLumpTool.h"

#include <QWidget>

class CDelegateBSP;
class QAction;
class QTableWidget;

// The lump inspector: the 64 entries of a map's lump directory in a read-only table. A click
// on a row's header offers to extract the lump to a file or to replace it from one; the work
// is CBspLumpTool's.
class VBSPINFO : public QWidget
{
    Q_OBJECT

public:
    explicit VBSPINFO(const QString &path, QWidget *parent = nullptr);
    explicit VBSPINFO(const CDelegateBSP &bsp, QWidget *parent = nullptr);

    // Shows the delegate's error in a warning when the map cannot be opened.
    bool openFile(const QString &path);
    // False when the delegate has no file.
    bool openFile(const CDelegateBSP &bsp);

    // Room for all columns: the workspace sizes new windows by it.
    QSize sizeHint() const override;

public slots:
    void tableContextMenu(const QPoint &position);
    void tableItemCopy();
    void lumpHeaderSectionClicked(int lump);

private:
    void construct();
    void createActions();
    void createTable();
    void fillTable(const QVector<CBspLumpTool::Row> &rows);
    void extractLump(int lump);
    void replaceLump(int lump);
    void warn(const QString &text);

    QString bspPath;
    QSize preferredSize;
    QTableWidget *table = nullptr;
    QAction *copyAction = nullptr;
};
