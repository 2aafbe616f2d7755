#pragma once

#include <QTreeWidget>

// The tree of types, groups and props. A single press of Up or Down moves the current item
// instead of the selection; held keys still browse.
class VVBSPTreeWidget : public QTreeWidget
{
    Q_OBJECT

public:
    explicit VVBSPTreeWidget(QWidget *parent = nullptr);

Q_SIGNALS:
    void keyUpPressed();
    void keyDownPressed();

protected:
    void keyPressEvent(QKeyEvent *event) override;
};
