#pragma once

#include <iosfwd>
#include <string>
#include <vector>

// A detail type listing (.vbsp): detail types hold groups, groups hold props, and a prop is a
// sprite cut from the shared sheet or a model. Reading clamps every number to its range and
// never fails on content; only an unopenable file gives null.
class CFileVBSP
{
public:
    class detailprop
    {
    public:
        explicit detailprop(const std::string &name);

        std::string name;
        std::string model;
        // The sprite's texel rectangle in the sheet and the sheet's size, each clamped for itself.
        int x = 0;
        int y = 0;
        int width = 0;
        int height = 0;
        int textureDimension = 1024;
        // "spritesize": four numbers of their own, unrelated to the rectangle above.
        float uOrigin = 0.5f;
        float vOrigin = 0.0f;
        float uWidth = 0.0f;
        float vHeight = 0.0f;
        float spriterandomscale = 0.0f;
        float amount = 1.0f;
        int detailOrientation = 2;
        float minangle = 180.0f;
        float maxangle = 180.0f;
        bool upright = false;
        std::string sprite_shape;
        float shape_angle = 0.0f;
        float shape_size = 0.0f;
        float sway = 0.0f;
    };

    class detailgroup
    {
    public:
        explicit detailgroup(const std::string &name);
        detailgroup(const detailgroup &other);
        detailgroup &operator=(const detailgroup &) = delete;
        ~detailgroup();

        // Null if a prop of that name exists.
        detailprop *addDetailprop(const std::string &name);
        // Adopts the prop; a taken name gets "_1", "_2", ... appended.
        detailprop *addDetailprop(detailprop *prop);
        detailprop *getDetailprop(const std::string &name);
        const detailprop *getDetailprop(const std::string &name) const;
        int getDetailpropIndex(const detailprop *prop) const;
        void swapDetailpropIndices(unsigned int a, unsigned int b);
        void removeDetailprop(detailprop *prop, bool destroy);
        void removeDetailprop(unsigned int index, bool destroy);

        std::string name;
        float alpha = 0.0f;
        std::vector<detailprop *> detailprops;
    };

    class detailtype
    {
    public:
        explicit detailtype(const std::string &name);
        detailtype(const detailtype &other);
        detailtype &operator=(const detailtype &) = delete;
        ~detailtype();

        detailgroup *addDetailgroup(const std::string &name);
        detailgroup *addDetailgroup(detailgroup *group);
        detailgroup *getDetailgroup(const std::string &name);
        const detailgroup *getDetailgroup(const std::string &name) const;
        int getDetailgroupIndex(const detailgroup *group) const;
        void swapDetailgroupIndices(unsigned int a, unsigned int b);
        void removeDetailgroup(detailgroup *group, bool destroy);
        void removeDetailgroup(unsigned int index, bool destroy);

        std::string name;
        float density = 0.0f;
        std::vector<detailgroup *> detailgroups;
    };

    CFileVBSP() = default;
    CFileVBSP(const CFileVBSP &) = delete;
    CFileVBSP &operator=(const CFileVBSP &) = delete;
    ~CFileVBSP();

    // A new object owned by the caller, or null if the file can't be opened.
    static CFileVBSP *readFile(const std::string &path);
    static CFileVBSP *readStream(std::istream &in, const std::string &path);
    [[nodiscard]] bool writeFile(const std::string &path) const;
    void writeStream(std::ostream &out) const;

    detailtype *addDetailtype(const std::string &name);
    detailtype *addDetailtype(detailtype *type);
    detailtype *getDetailtype(const std::string &name);
    const detailtype *getDetailtype(const std::string &name) const;
    int getDetailtypeIndex(const detailtype *type) const;
    void swapDetailtypeIndices(unsigned int a, unsigned int b);
    void removeDetailtype(detailtype *type, bool destroy);
    void removeDetailtype(unsigned int index, bool destroy);

    bool detailShapeSupport = true;
    std::string path;
    std::vector<detailtype *> detailtypes;
};
