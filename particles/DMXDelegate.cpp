#include "particles/DMXDelegate.h"

#include "particles/CFilePCF.h"
#include "particles/DmxValueReader.h"

void *DMXDelegate::dataForAttributeType(CDmxAttribute::ParticleAttributeType_t type,
                                        QDataStream &stream, CFilePCF *file)
{
    DmxRead::Context context;
    if (file) {
        context.elements = &file->elements;
        context.dictionary = &file->stringDictionary;
        context.stringsByIndex = file->version == CFilePCF::PCF_L4D2;
    }
    DmxRead::StreamSource source(stream);
    const char *error = nullptr;
    CDmxAttribute scratch;
    const DmxRead::Outcome outcome = DmxRead::value(scratch, type, source, context, error);
    if (outcome != DmxRead::Outcome::Value) {
        // Elements that a half-read list names belong to the file, not to this value.
        scratch.dropElementReferences();
        if (error && stream.status() == QDataStream::Ok)
            stream.setStatus(QDataStream::ReadCorruptData);
        return nullptr;
    }
    return scratch.releaseValue();
}
