#pragma once

#include <QDialog>
#include <QList>
#include <QPair>

class CPackageHierarchyNode;
class IPackageDelegate;
class QFormLayout;

// The Package Viewer's "Properties" dialog: labelled rows of read-only text
// above an OK button. It is made once per viewer and refilled for each node.
class VPackagePropertiesDialog : public QDialog
{
    Q_OBJECT
public:
    using Row = QPair<QString, QString>;

    explicit VPackagePropertiesDialog(QWidget *parent = nullptr);

    // The rows that apply to this node in a package of this delegate's type.
    static QList<Row> rowsForNode(const IPackageDelegate *delegate,
                                  const CPackageHierarchyNode *node);

    void setRows(const QList<Row> &rows);
    QList<Row> rows() const { return currentRows; }
    // The text of the row with this label, or a null string.
    QString valueOf(const QString &label) const;

private:
    QFormLayout *form = nullptr;
    QList<Row> currentRows;
};
