#pragma once

#include <QString>

// Element type names and attribute names that the particle code looks for.
namespace DmxNames {

inline const QString &rootType()
{
    static const QString text = QStringLiteral("DmElement");
    return text;
}
inline const QString &systemType()
{
    static const QString text = QStringLiteral("DmeParticleSystemDefinition");
    return text;
}
inline const QString &childType()
{
    static const QString text = QStringLiteral("DmeParticleChild");
    return text;
}
inline const QString &operatorType()
{
    static const QString text = QStringLiteral("DmeParticleOperator");
    return text;
}
inline const QString &systemDefinitions()
{
    static const QString text = QStringLiteral("particleSystemDefinitions");
    return text;
}
inline const QString &children()
{
    static const QString text = QStringLiteral("children");
    return text;
}
inline const QString &child()
{
    static const QString text = QStringLiteral("child");
    return text;
}
inline const QString &delay()
{
    static const QString text = QStringLiteral("delay");
    return text;
}
inline const QString &functionName()
{
    static const QString text = QStringLiteral("functionName");
    return text;
}

} // namespace DmxNames
