#include "map/CFileVBSP.h"

#include "util/UtilContainers.h"
#include "util/UtilText.h"

#include <QSaveFile>
#include <QString>

#include <cfloat>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>

namespace {

// The three levels share their container operations; T is the element type.
template<typename T>
T *findByName(const std::vector<T *> &items, const std::string &name, const T *except = nullptr)
{
    for (T *item : items) {
        if (item != except && item->name == name)
            return item;
    }
    return nullptr;
}

template<typename T> T *addNew(std::vector<T *> &items, const std::string &name)
{
    if (findByName(items, name))
        return nullptr;
    items.push_back(new T(name));
    return items.back();
}

template<typename T> T *adopt(std::vector<T *> &items, T *item)
{
    if (!item)
        return nullptr;
    // The object itself may stand in the list already; its own name doesn't count.
    if (findByName(items, item->name, item)) {
        const std::string base = item->name;
        unsigned int number = 1;
        do {
            item->name = base + "_" + std::to_string(number++);
        } while (findByName(items, item->name, item));
    }
    items.push_back(item);
    UTIL_removeDuplicates(items);
    return item;
}

template<typename T> int indexOf(const std::vector<T *> &items, const T *item)
{
    for (size_t i = 0; i < items.size(); ++i) {
        if (items[i] == item)
            return int(i);
    }
    return -1;
}

template<typename T> void swapAt(std::vector<T *> &items, unsigned int a, unsigned int b)
{
    if (a < items.size() && b < items.size())
        std::swap(items[a], items[b]);
}

template<typename T> void removeAt(std::vector<T *> &items, unsigned int index, bool destroy)
{
    if (index >= items.size())
        return;
    T *item = items[index];
    items.erase(items.begin() + index);
    if (destroy)
        delete item;
}

template<typename T> void removeItem(std::vector<T *> &items, T *item, bool destroy)
{
    const int index = indexOf(items, item);
    if (index >= 0)
        removeAt(items, unsigned(index), destroy);
}

template<typename T> void copyAll(std::vector<T *> &to, const std::vector<T *> &from)
{
    to.reserve(from.size());
    for (const T *item : from)
        to.push_back(new T(*item));
}

// NaN counts as the lower bound, so that no stored value escapes its range.
double clamp(double value, double low, double high)
{
    if (!(value >= low))
        return low;
    return value > high ? high : value;
}

float readFloat(const std::string &text, double low, double high)
{
    return float(clamp(std::strtod(text.c_str(), nullptr), low, high));
}

int readInt(const std::string &text, long low, long high)
{
    const long value = std::strtol(text.c_str(), nullptr, 10);
    return int(value < low ? low : (value > high ? high : value));
}

std::vector<std::string> splitAtBlanks(const std::string &text)
{
    std::vector<std::string> tokens;
    size_t i = 0;
    while (i < text.size()) {
        while (i < text.size() && UTIL_isWhitespace(text[i]))
            ++i;
        size_t j = i;
        while (j < text.size() && !UTIL_isWhitespace(text[j]))
            ++j;
        if (j > i)
            tokens.push_back(text.substr(i, j - i));
        i = j;
    }
    return tokens;
}

void readPropKey(CFileVBSP::detailprop &prop, const std::string &key, const std::string &value)
{
    if (key == "model") {
        prop.model = value;
    } else if (key == "sprite") {
        const std::vector<std::string> tokens = splitAtBlanks(value);
        int *fields[] = { &prop.x, &prop.y, &prop.width, &prop.height, &prop.textureDimension };
        for (size_t i = 0; i < tokens.size() && i < 5; ++i)
            *fields[i] = readInt(tokens[i], 0, 4096);
    } else if (key == "spritesize") {
        const std::vector<std::string> tokens = splitAtBlanks(value);
        if (tokens.size() == 4) {
            prop.uOrigin = readFloat(tokens[0], 0, 1);
            prop.vOrigin = readFloat(tokens[1], 0, 1);
            prop.uWidth = readFloat(tokens[2], 0, 1);
            prop.vHeight = readFloat(tokens[3], 0, 1);
        }
    } else if (key == "spriterandomscale") {
        prop.spriterandomscale = readFloat(value, 0, 1);
    } else if (key == "amount") {
        prop.amount = readFloat(value, 0, 1);
    } else if (key == "detailOrientation") {
        prop.detailOrientation = readInt(value, 0, 2);
    } else if (key == "minangle") {
        // Clamped against the maximum read so far: a stored minimum above the default
        // maximum of 180 comes back as 180, since the minimum is written first.
        prop.minangle = readFloat(value, 0, prop.maxangle);
    } else if (key == "maxangle") {
        prop.maxangle = readFloat(value, prop.minangle, 360);
    } else if (key == "upright") {
        prop.upright = std::strtol(value.c_str(), nullptr, 10) != 0;
    } else if (key == "sprite_shape") {
        prop.sprite_shape = value;
    } else if (key == "shape_angle") {
        prop.shape_angle = readFloat(value, 0, 360);
    } else if (key == "shape_size") {
        prop.shape_size = readFloat(value, 0, 1);
    } else if (key == "sway") {
        prop.sway = readFloat(value, 0, 1);
    }
}

// The lines of the file as keys and values; past the end every call gives false, so that the
// end of the file closes all open blocks.
class LineReader
{
public:
    explicit LineReader(std::istream &in)
        : in(in)
    { }

    bool next()
    {
        if (!std::getline(in, line))
            return false;
        key.clear();
        value.clear();
        (void)UTIL_getPart(line, key, value);
        return true;
    }

    // A line with no key (blank, or a comment) is passed over at every depth.
    bool skip() const { return key.empty() || key == "{"; }
    bool closes() const { return key == "}"; }

    std::string key;
    std::string value;

private:
    std::istream &in;
    std::string line;
};

void readProp(LineReader &lines, CFileVBSP::detailprop &prop)
{
    while (lines.next()) {
        if (lines.skip())
            continue;
        if (lines.closes())
            return;
        readPropKey(prop, lines.key, lines.value);
    }
}

void readGroup(LineReader &lines, CFileVBSP::detailgroup &group)
{
    while (lines.next()) {
        if (lines.skip())
            continue;
        if (lines.closes())
            return;
        if (lines.key == "alpha") {
            group.alpha = readFloat(lines.value, 0, 1);
            continue;
        }
        auto *prop = new CFileVBSP::detailprop("unnamed");
        prop->name = lines.key;
        group.detailprops.push_back(prop);
        readProp(lines, *prop);
    }
}

void readType(LineReader &lines, CFileVBSP::detailtype &type)
{
    while (lines.next()) {
        if (lines.skip())
            continue;
        if (lines.closes())
            return;
        if (lines.key == "density") {
            type.density = readFloat(lines.value, 0, FLT_MAX);
            continue;
        }
        auto *group = new CFileVBSP::detailgroup("unnamed");
        group->name = lines.key;
        type.detailgroups.push_back(group);
        readGroup(lines, *group);
    }
}

void readDetail(LineReader &lines, CFileVBSP &file)
{
    while (lines.next()) {
        if (lines.skip())
            continue;
        if (lines.closes())
            return;
        auto *type = new CFileVBSP::detailtype("unnamed");
        type->name = lines.key;
        file.detailtypes.push_back(type);
        readType(lines, *type);
    }
}

std::string tabs(int count)
{
    return std::string(size_t(count), '\t');
}

template<typename T> void keyLine(std::ostream &out, int depth, const char *key, const T &value)
{
    out << tabs(depth) << '"' << key << "\" \"" << value << "\"\n";
}

void writeProp(std::ostream &out, const CFileVBSP::detailprop &prop, bool shapes)
{
    out << tabs(3) << prop.name << '\n' << tabs(3) << "{\n";
    if (prop.model.empty()) {
        if (shapes && !prop.sprite_shape.empty())
            keyLine(out, 4, "sprite_shape", prop.sprite_shape);
        out << tabs(4) << "\"sprite\" \"" << prop.x << ' ' << prop.y << ' ' << prop.width << ' '
            << prop.height << ' ' << prop.textureDimension << "\"\n";
        out << tabs(4) << "\"spritesize\" \"" << prop.uOrigin << ' ' << prop.vOrigin << ' '
            << prop.uWidth << ' ' << prop.vHeight << "\"\n";
        keyLine(out, 4, "spriterandomscale", prop.spriterandomscale);
        keyLine(out, 4, "amount", prop.amount);
        keyLine(out, 4, "detailOrientation", prop.detailOrientation);
        if (shapes) {
            if (prop.sprite_shape == "tri") {
                keyLine(out, 4, "shape_angle", prop.shape_angle);
                keyLine(out, 4, "shape_size", prop.shape_size);
            }
            keyLine(out, 4, "sway", prop.sway);
        }
    } else {
        keyLine(out, 4, "model", prop.model);
        keyLine(out, 4, "amount", prop.amount);
    }
    if (prop.minangle != 180.0f)
        keyLine(out, 4, "minangle", prop.minangle);
    if (prop.maxangle != 180.0f)
        keyLine(out, 4, "maxangle", prop.maxangle);
    if (prop.upright)
        keyLine(out, 4, "upright", 1);
    out << tabs(3) << "}\n";
}

} // namespace

CFileVBSP::detailprop::detailprop(const std::string &name)
    : name(name)
{ }

CFileVBSP::detailgroup::detailgroup(const std::string &name)
    : name(name)
{ }

CFileVBSP::detailgroup::detailgroup(const detailgroup &other)
    : name(other.name)
    , alpha(other.alpha)
{
    copyAll(detailprops, other.detailprops);
}

CFileVBSP::detailgroup::~detailgroup()
{
    UTIL_deleteVectorAsPointerArray(detailprops);
}

CFileVBSP::detailprop *CFileVBSP::detailgroup::addDetailprop(const std::string &name)
{
    return addNew(detailprops, name);
}

CFileVBSP::detailprop *CFileVBSP::detailgroup::addDetailprop(detailprop *prop)
{
    return adopt(detailprops, prop);
}

CFileVBSP::detailprop *CFileVBSP::detailgroup::getDetailprop(const std::string &name)
{
    return findByName(detailprops, name);
}

const CFileVBSP::detailprop *CFileVBSP::detailgroup::getDetailprop(const std::string &name) const
{
    return findByName(detailprops, name);
}

int CFileVBSP::detailgroup::getDetailpropIndex(const detailprop *prop) const
{
    return indexOf(detailprops, prop);
}

void CFileVBSP::detailgroup::swapDetailpropIndices(unsigned int a, unsigned int b)
{
    swapAt(detailprops, a, b);
}

void CFileVBSP::detailgroup::removeDetailprop(detailprop *prop, bool destroy)
{
    removeItem(detailprops, prop, destroy);
}

void CFileVBSP::detailgroup::removeDetailprop(unsigned int index, bool destroy)
{
    removeAt(detailprops, index, destroy);
}

CFileVBSP::detailtype::detailtype(const std::string &name)
    : name(name)
{ }

CFileVBSP::detailtype::detailtype(const detailtype &other)
    : name(other.name)
    , density(other.density)
{
    copyAll(detailgroups, other.detailgroups);
}

CFileVBSP::detailtype::~detailtype()
{
    UTIL_deleteVectorAsPointerArray(detailgroups);
}

CFileVBSP::detailgroup *CFileVBSP::detailtype::addDetailgroup(const std::string &name)
{
    return addNew(detailgroups, name);
}

CFileVBSP::detailgroup *CFileVBSP::detailtype::addDetailgroup(detailgroup *group)
{
    return adopt(detailgroups, group);
}

CFileVBSP::detailgroup *CFileVBSP::detailtype::getDetailgroup(const std::string &name)
{
    return findByName(detailgroups, name);
}

const CFileVBSP::detailgroup *CFileVBSP::detailtype::getDetailgroup(const std::string &name) const
{
    return findByName(detailgroups, name);
}

int CFileVBSP::detailtype::getDetailgroupIndex(const detailgroup *group) const
{
    return indexOf(detailgroups, group);
}

void CFileVBSP::detailtype::swapDetailgroupIndices(unsigned int a, unsigned int b)
{
    swapAt(detailgroups, a, b);
}

void CFileVBSP::detailtype::removeDetailgroup(detailgroup *group, bool destroy)
{
    removeItem(detailgroups, group, destroy);
}

void CFileVBSP::detailtype::removeDetailgroup(unsigned int index, bool destroy)
{
    removeAt(detailgroups, index, destroy);
}

CFileVBSP::~CFileVBSP()
{
    UTIL_deleteVectorAsPointerArray(detailtypes);
}

CFileVBSP *CFileVBSP::readFile(const std::string &path)
{
    std::error_code error;
    if (std::filesystem::is_directory(path, error))
        return nullptr;
    std::ifstream in(path);
    if (!in.is_open())
        return nullptr;
    return readStream(in, path);
}

CFileVBSP *CFileVBSP::readStream(std::istream &in, const std::string &path)
{
    auto *file = new CFileVBSP;
    file->path = path;
    LineReader lines(in);
    // Lines outside a "detail" block are passed over; a second block adds to the first.
    while (lines.next()) {
        if (lines.key == "detail")
            readDetail(lines, *file);
    }
    return file;
}

void CFileVBSP::writeStream(std::ostream &out) const
{
    out << "detail\n{\n";
    for (size_t t = 0; t < detailtypes.size(); ++t) {
        const detailtype &type = *detailtypes[t];
        if (t > 0)
            out << '\n';
        out << tabs(1) << type.name << '\n' << tabs(1) << "{\n";
        keyLine(out, 2, "density", type.density);
        for (size_t g = 0; g < type.detailgroups.size(); ++g) {
            const detailgroup &group = *type.detailgroups[g];
            if (g > 0)
                out << '\n';
            out << tabs(2) << group.name << '\n' << tabs(2) << "{\n";
            keyLine(out, 3, "alpha", group.alpha);
            for (size_t p = 0; p < group.detailprops.size(); ++p) {
                if (p > 0)
                    out << '\n';
                writeProp(out, *group.detailprops[p], detailShapeSupport);
            }
            out << tabs(2) << "}\n";
        }
        out << tabs(1) << "}\n";
    }
    out << "}\n";
}

bool CFileVBSP::writeFile(const std::string &path) const
{
    // Formatted in memory with the stream defaults, then written aside and renamed over the
    // target, so that a failed write never leaves half a file.
    std::ostringstream text;
    writeStream(text);
    const std::string bytes = text.str();
    QSaveFile file(QString::fromStdString(path));
    if (!file.open(QIODevice::WriteOnly))
        return false;
    if (file.write(bytes.data(), qint64(bytes.size())) != qint64(bytes.size())) {
        file.cancelWriting();
        return false;
    }
    return file.commit();
}

CFileVBSP::detailtype *CFileVBSP::addDetailtype(const std::string &name)
{
    return addNew(detailtypes, name);
}

CFileVBSP::detailtype *CFileVBSP::addDetailtype(detailtype *type)
{
    return adopt(detailtypes, type);
}

CFileVBSP::detailtype *CFileVBSP::getDetailtype(const std::string &name)
{
    return findByName(detailtypes, name);
}

const CFileVBSP::detailtype *CFileVBSP::getDetailtype(const std::string &name) const
{
    return findByName(detailtypes, name);
}

int CFileVBSP::getDetailtypeIndex(const detailtype *type) const
{
    return indexOf(detailtypes, type);
}

void CFileVBSP::swapDetailtypeIndices(unsigned int a, unsigned int b)
{
    swapAt(detailtypes, a, b);
}

void CFileVBSP::removeDetailtype(detailtype *type, bool destroy)
{
    removeItem(detailtypes, type, destroy);
}

void CFileVBSP::removeDetailtype(unsigned int index, bool destroy)
{
    removeAt(detailtypes, index, destroy);
}
