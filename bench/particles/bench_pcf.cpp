// Particle files of 25,000 to 100,000 elements (the largest about 19 MB): reading them
// into the element tree and writing them back, against a plain read of the same bytes.
//
// The plain read goes through the file's fields in order with a little-endian data stream,
// the way the format is laid out, and keeps nothing. "vs_plain_read" is a measurement's
// time over that of the plain read of its size in the same run; "vs_raw_bytes" is the same
// over reading the file's bytes in one call (a copy out of the page cache, the floor of any
// reader). "ns_per_element" shows that reading stays linear.

#include "particles/CDmxElement.h"
#include "particles/CFilePCF.h"
#include "particles/DmxNames.h"
#include "particles/PCFDelegate.h"

#include <QDataStream>
#include <QFile>
#include <QTemporaryDir>

#include <benchmark/benchmark.h>

#include <ctime>
#include <map>
#include <memory>

namespace {

constexpr int OperatorsPerSystem = 49;

CDmxAttribute *attribute(const QString &name, CDmxAttribute::ParticleAttributeType_t type,
                         void *value)
{
    auto *made = new CDmxAttribute;
    made->name = name;
    if (!made->setValue(type, value))
        std::abort();
    return made;
}

// A version 2 file of the given element count: systems with the seven lists and their
// settings, each with 49 operators of a dozen parameters of mixed types.
std::unique_ptr<CFilePCF> makeFile(int elementCount)
{
    std::unique_ptr<CFilePCF> file(CFilePCF::newPCF(CFilePCF::PCF_L4D));
    const QString lists[] = { QStringLiteral("renderers"),    QStringLiteral("operators"),
                              QStringLiteral("initializers"), QStringLiteral("emitters"),
                              QStringLiteral("children"),     QStringLiteral("forces"),
                              QStringLiteral("constraints") };
    int made = 1;
    for (int s = 0; made < elementCount; ++s) {
        auto *system = new CDmxElement;
        system->type = DmxNames::systemType();
        system->name = QStringLiteral("effect_%1_burning_debris_sparks").arg(s);
        system->guid = QUuid::createUuid();
        file->elements.append(system);
        file->systemDefinitions()->append(system);
        ++made;
        QList<DmxElementArray *> arrays;
        for (const QString &list : lists) {
            auto *items = new DmxElementArray;
            arrays.append(items);
            system->attributes.append(
                attribute(list, CDmxAttribute::ATTRIBUTE_ELEMENT_ARRAY, items));
        }
        system->attributes.append(
            attribute(QStringLiteral("material"), CDmxAttribute::ATTRIBUTE_STRING,
                      new QString(QStringLiteral("particle/fire/debris_%1.vmt").arg(s))));
        system->attributes.append(attribute(QStringLiteral("max_particles"),
                                            CDmxAttribute::ATTRIBUTE_INTEGER, new DmxInteger(s)));
        system->attributes.append(attribute(QStringLiteral("bounding_box_max"),
                                            CDmxAttribute::ATTRIBUTE_VECTOR3,
                                            new DmxVector3 { 10, 10, 10 }));
        system->attributes.append(attribute(QStringLiteral("color"), CDmxAttribute::ATTRIBUTE_COLOR,
                                            new DmxColor { 255, 128, 0, 255 }));
        for (int o = 0; o < OperatorsPerSystem && made < elementCount; ++o, ++made) {
            auto *op = new CDmxElement;
            op->type = DmxNames::operatorType();
            op->name = QStringLiteral("Position Within Sphere Random %1").arg(o);
            op->guid = QUuid::createUuid();
            file->elements.append(op);
            arrays.at(o % 7 == 4 ? 1 : o % 7)->append(op);
            op->attributes.append(attribute(
                DmxNames::functionName(), CDmxAttribute::ATTRIBUTE_STRING, new QString(op->name)));
            for (int p = 0; p < 4; ++p)
                op->attributes.append(attribute(QStringLiteral("operator fade %1").arg(p),
                                                CDmxAttribute::ATTRIBUTE_FLOAT, new DmxFloat(p)));
            op->attributes.append(attribute(QStringLiteral("distance_bias"),
                                            CDmxAttribute::ATTRIBUTE_VECTOR3,
                                            new DmxVector3 { 1, 1, 0.5f }));
            op->attributes.append(attribute(QStringLiteral("speed_in_local_coordinate_system_min"),
                                            CDmxAttribute::ATTRIBUTE_VECTOR3,
                                            new DmxVector3 { 0, 0, 22 }));
            op->attributes.append(attribute(QStringLiteral("control_point_number"),
                                            CDmxAttribute::ATTRIBUTE_INTEGER, new DmxInteger(o)));
            op->attributes.append(attribute(QStringLiteral("randomly distribute"),
                                            CDmxAttribute::ATTRIBUTE_BOOLEAN, new DmxBoolean(1)));
            op->attributes.append(attribute(QStringLiteral("color1"),
                                            CDmxAttribute::ATTRIBUTE_COLOR,
                                            new DmxColor { 169, 16, 16, 255 }));
            op->attributes.append(attribute(QStringLiteral("start time"),
                                            CDmxAttribute::ATTRIBUTE_TIME, new DmxTime(0.25f)));
            op->attributes.append(attribute(QStringLiteral("collision group"),
                                            CDmxAttribute::ATTRIBUTE_STRING,
                                            new QString(QStringLiteral("DEBRIS"))));
        }
    }
    return file;
}

struct Sample
{
    QTemporaryDir dir;
    QString path;
    qint64 bytes = 0;
};

Sample &sample(int elements)
{
    static std::map<int, std::unique_ptr<Sample>> samples;
    std::unique_ptr<Sample> &entry = samples[elements];
    if (!entry) {
        entry = std::make_unique<Sample>();
        entry->path = entry->dir.filePath(QStringLiteral("large.pcf"));
        std::unique_ptr<CFilePCF> file = makeFile(elements);
        PCFDelegate delegate;
        if (!delegate.writeFile(entry->path, file.get(), file->version))
            std::abort();
        entry->bytes = QFile(entry->path).size();
    }
    return *entry;
}

std::map<int, double> &plainReads()
{
    static std::map<int, double> seconds;
    return seconds;
}

std::map<int, double> &rawReads()
{
    static std::map<int, double> seconds;
    return seconds;
}

// Walks every field of a version 1 or 2 file; false if the bytes do not follow the layout.
bool walkFields(QDataStream &in)
{
    auto skipString = [&in]() {
        char c = 1;
        while (c != 0) {
            if (in.readRawData(&c, 1) != 1)
                return false;
        }
        return true;
    };
    if (!skipString())
        return false;
    qint16 strings = 0;
    in >> strings;
    for (int i = 0; i < strings; ++i)
        skipString();
    qint32 elements = 0;
    in >> elements;
    quint16 index = 0;
    QUuid guid;
    for (int i = 0; i < elements; ++i) {
        in >> index;
        skipString();
        in >> guid;
    }
    for (int i = 0; i < elements && in.status() == QDataStream::Ok; ++i) {
        qint32 count = 0;
        in >> count;
        for (int j = 0; j < count; ++j) {
            quint8 type = 0;
            in >> index >> type;
            qint32 number = 0;
            float real = 0;
            switch (type) {
            case CDmxAttribute::ATTRIBUTE_ELEMENT:
            case CDmxAttribute::ATTRIBUTE_INTEGER:
            case CDmxAttribute::ATTRIBUTE_TIME:
                in >> number;
                break;
            case CDmxAttribute::ATTRIBUTE_FLOAT:
                in >> real;
                break;
            case CDmxAttribute::ATTRIBUTE_BOOLEAN:
                in >> type;
                break;
            case CDmxAttribute::ATTRIBUTE_STRING:
                skipString();
                break;
            case CDmxAttribute::ATTRIBUTE_COLOR:
                in >> number;
                break;
            case CDmxAttribute::ATTRIBUTE_VECTOR3:
                in >> real >> real >> real;
                break;
            case CDmxAttribute::ATTRIBUTE_ELEMENT_ARRAY: {
                qint32 items = 0;
                in >> items;
                for (int k = 0; k < items; ++k)
                    in >> number;
                break;
            }
            default:
                return false;
            }
        }
    }
    return in.status() == QDataStream::Ok;
}

// Processor time of this thread, page faults included: the figures hold while other work
// shares the machine. A write's wait for the disk is thus not counted.
double now()
{
    timespec time {};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return double(time.tv_sec) + double(time.tv_nsec) * 1e-9;
}

enum class Kind { Raw, Plain, Measured };

void report(benchmark::State &state, double total, Kind kind)
{
    const int elements = int(state.range(0));
    const double perIteration
        = total / double(std::max<benchmark::IterationCount>(1, state.iterations()));
    if (kind == Kind::Raw)
        rawReads()[elements] = perIteration;
    if (kind == Kind::Plain)
        plainReads()[elements] = perIteration;
    if (kind != Kind::Plain && plainReads().count(elements))
        state.counters["vs_plain_read"] = perIteration / plainReads()[elements];
    if (kind != Kind::Raw && rawReads().count(elements))
        state.counters["vs_raw_bytes"] = perIteration / rawReads()[elements];
    state.counters["MB"] = double(sample(elements).bytes) / 1e6;
    state.counters["ns_per_element"] = perIteration * 1e9 / elements;
    state.SetBytesProcessed(state.iterations() * sample(elements).bytes);
}

void BM_RawBytes(benchmark::State &state)
{
    const Sample &file = sample(int(state.range(0)));
    double total = 0;
    for (auto _ : state) {
        const double start = now();
        QFile device(file.path);
        if (!device.open(QIODevice::ReadOnly))
            std::abort();
        const QByteArray bytes = device.readAll();
        benchmark::DoNotOptimize(bytes.constData());
        total += now() - start;
    }
    report(state, total, Kind::Raw);
}

void BM_PlainRead(benchmark::State &state)
{
    const Sample &file = sample(int(state.range(0)));
    double total = 0;
    for (auto _ : state) {
        const double start = now();
        QFile device(file.path);
        if (!device.open(QIODevice::ReadOnly))
            std::abort();
        QDataStream in(&device);
        in.setByteOrder(QDataStream::LittleEndian);
        in.setFloatingPointPrecision(QDataStream::SinglePrecision);
        if (!walkFields(in)) {
            state.SkipWithError("the generated file does not follow the layout");
            return;
        }
        total += now() - start;
    }
    report(state, total, Kind::Plain);
}

void BM_ReadPcf(benchmark::State &state)
{
    const Sample &file = sample(int(state.range(0)));
    double total = 0;
    for (auto _ : state) {
        auto pcf = std::make_unique<CFilePCF>();
        const double start = now();
        PCFDelegate delegate;
        if (!delegate.readFile(file.path, pcf.get())) {
            state.SkipWithError(qPrintable(delegate.getLastError()));
            return;
        }
        total += now() - start;
        // Freeing the tree is not part of reading it.
        pcf.reset();
    }
    report(state, total, Kind::Measured);
}

void BM_WritePcf(benchmark::State &state)
{
    const Sample &file = sample(int(state.range(0)));
    auto pcf = std::make_unique<CFilePCF>();
    PCFDelegate delegate;
    if (!delegate.readFile(file.path, pcf.get())) {
        state.SkipWithError(qPrintable(delegate.getLastError()));
        return;
    }
    const QString out = file.path + QStringLiteral(".out");
    double total = 0;
    for (auto _ : state) {
        const double start = now();
        if (!delegate.writeFile(out, pcf.get(), pcf->version)) {
            state.SkipWithError(qPrintable(delegate.getLastError()));
            return;
        }
        total += now() - start;
    }
    report(state, total, Kind::Measured);
}

void sizes(benchmark::internal::Benchmark *b)
{
    b->Arg(25000)->Arg(50000)->Arg(100000)->Unit(benchmark::kMillisecond)->MinTime(0.5);
}

} // namespace

// Each measurement runs after the plain read of the same sizes, which it is compared with.
BENCHMARK(BM_RawBytes)->Apply(sizes);
BENCHMARK(BM_PlainRead)->Apply(sizes);
BENCHMARK(BM_ReadPcf)->Apply(sizes);
BENCHMARK(BM_WritePcf)->Apply(sizes);

BENCHMARK_MAIN();
