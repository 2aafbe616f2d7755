#pragma once

#include <QString>
#include <QVector>

class CFileMDL;
class CFilePHY;

// The header fields of a compiled model or its collision file as a tree of labels and values:
// what the model data window shows, and what the command-line tool prints.
class CModelInfo
{
public:
    struct Node_t
    {
        QString label;
        QString value;
        QVector<Node_t> children;
    };

    static Node_t describe(const CFileMDL &model);
    static Node_t describe(const CFilePHY &physics);
    // By the file's extension: ".phy" is a collision file, anything else a model. False with
    // "Read Error: Unable to read \"" + path + "\"" when the reader refuses the file.
    [[nodiscard]] static bool describeFile(const QString &path, Node_t &tree, QString &error);

    // Indented "label: value" lines, two spaces a level.
    static QString toText(const Node_t &tree);
};
