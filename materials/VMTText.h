#pragma once

// Line surgery on the text of a VMT material. A material is never parsed into a tree: these
// routines find their place by the shape of single lines (exact equality, or the first
// character of a trimmed line) and change the text in place. The adding routines return null
// when all went well and otherwise one of the warnings below; a routine that fails leaves the
// text as it found it. The editor window, the mass editor and the command-line tool share them.

#include <QString>
#include <QStringList>

namespace VMTText {

// The warnings, always returned as these very pointers.
extern const char *const ShaderInsertionFailed;
extern const char *const ShaderReplacementQuestionable;
extern const char *const ShaderInsertionQuestionable;
extern const char *const KeyValueInsertionFailed;
extern const char *const ProxyInsertionFailed;

// Lines are addressed with 16-bit indices; a longer text is refused whole (the adding routines
// with their insertion warning) rather than half edited.
inline constexpr qsizetype MaxLines = 32767;

// A proxy gets at most this many parameters; further keys are dropped.
inline constexpr qsizetype MaxProxyParameters = 255;

// "Proxies", "\"Proxies\"", "\tProxies" or "\t\"Proxies\"", case included.
bool isProxiesLine(const QString &line);

// Replaces the shader line (the nearest quoted line above the first "{" line).
const char *addShader(QString &text, const QString &shader);
// Replaces the first keyvalue line with the key (any case) above the Proxies line, or inserts
// one behind the last keyvalue in front of the Proxies block or the closing brace.
const char *addParameter(QString &text, const QString &key, const QString &value);
// Adds one proxy entry, with a Proxies block if there is none. values may be null (all values
// empty); otherwise it is indexed in step with keys.
const char *addProxy(QString &text, const QString &name, const QStringList &keys,
                     const QStringList *values);
// Removes every proxy of the name (any case), and the block once it is empty; an empty name
// removes the whole Proxies block.
void removeProxy(QString &text, const QString &name);

} // namespace VMTText
