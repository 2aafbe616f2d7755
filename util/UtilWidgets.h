#pragma once

#include "util/CNotifier.h"

#include <QIcon>
#include <QString>

class QWidget;

// With both non-null: adjusts the child's size and moves it so that it is centred over the
// parent, in the parent's own coordinates.
void UTIL_centerOverWidget(QWidget *child, const QWidget *parent);

// The desktop's icon for files of an extension, through one shared temporary file renamed to
// carry it. An empty extension or a failed rename gives ":/resources/icons/empty".
QIcon UTIL_shellIconForExtension(const QString &extension);

// Width of the text in the application's default font.
int UTIL_getFontWidth(const QString &text);

// Routes the notifications of core code to modal message boxes over the active window.
// Returns the handler that was installed before.
CNotifier::Handler UTIL_installMessageBoxNotifier();
