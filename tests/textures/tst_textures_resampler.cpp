#include "ZirkTest.h"

#include "textures/Resampler.h"

#include <vector>

Q_DECLARE_METATYPE(Resampler::Boundary_Op)

namespace {

// Runs a whole plane through a resampler, one source line per call.
std::vector<float> resample(Resampler &resampler, const std::vector<float> &source, int srcX,
                            int srcY, int dstX, int dstY)
{
    std::vector<float> out;
    for (int y = 0; y < srcY; ++y) {
        if (!resampler.put_line(&source[size_t(y) * srcX]))
            break;
        while (const float *line = resampler.get_line())
            out.insert(out.end(), line, line + dstX);
    }
    while (const float *line = resampler.get_line())
        out.insert(out.end(), line, line + dstX);
    Q_UNUSED(dstY);
    return out;
}

} // namespace

class TestTextureResampler : public QObject
{
    Q_OBJECT

private slots:
    void filterTable();
    void identityThroughTent();
    void badAndDefaultFilterNames();
    void boundaryOps_data();
    void boundaryOps();
    void clampingOnlyWithARange();
    void streamingOrder();
    void scalingKeepsFlatPlanesFlat_data();
    void scalingKeepsFlatPlanesFlat();
    void sharedListsAndRestart();
};

void TestTextureResampler::filterTable()
{
    QCOMPARE(Resampler::get_filter_num(), 16);
    QCOMPARE(Resampler::get_filter_name(0), "box");
    QCOMPARE(Resampler::get_filter_name(1), "tent");
    QCOMPARE(Resampler::get_filter_name(7), "lanczos4");
    QCOMPARE(Resampler::get_filter_name(15), "quadratic_mix");
    QVERIFY(!Resampler::get_filter_name(16));
    QVERIFY(!Resampler::get_filter_name(-1));
}

void TestTextureResampler::identityThroughTent()
{
    const int w = 7, h = 5;
    std::vector<float> source(w * h);
    for (int i = 0; i < w * h; ++i)
        source[i] = float((i * 37) % 11) / 10.0f;
    Resampler resampler(w, h, w, h, Resampler::BOUNDARY_CLAMP, 0.0f, 0.0f, "tent");
    QCOMPARE(resampler.status(), Resampler::STATUS_OKAY);
    const std::vector<float> out = resample(resampler, source, w, h, w, h);
    QCOMPARE(out.size(), source.size());
    for (size_t i = 0; i < out.size(); ++i)
        QVERIFY(qAbs(out[i] - source[i]) < 1e-6f);
}

void TestTextureResampler::badAndDefaultFilterNames()
{
    Resampler bad(4, 4, 2, 2, Resampler::BOUNDARY_CLAMP, 0.0f, 0.0f, "no such filter");
    QCOMPARE(bad.status(), Resampler::STATUS_BAD_FILTER_NAME);

    // A null name is lanczos4.
    std::vector<float> source(16 * 3);
    for (size_t i = 0; i < source.size(); ++i)
        source[i] = float(i % 7);
    Resampler byDefault(16, 3, 5, 2, Resampler::BOUNDARY_REFLECT, 0.0f, 0.0f, nullptr);
    Resampler named(16, 3, 5, 2, Resampler::BOUNDARY_REFLECT, 0.0f, 0.0f, "lanczos4");
    Resampler other(16, 3, 5, 2, Resampler::BOUNDARY_REFLECT, 0.0f, 0.0f, "box");
    const std::vector<float> a = resample(byDefault, source, 16, 3, 5, 2);
    QCOMPARE(a, resample(named, source, 16, 3, 5, 2));
    QVERIFY(a != resample(other, source, 16, 3, 5, 2));
}

void TestTextureResampler::boundaryOps_data()
{
    QTest::addColumn<Resampler::Boundary_Op>("op");
    QTest::addColumn<float>("offset");
    QTest::addColumn<float>("expected");
    // Source 10, 20, 30, 40: the box shifted one to the left samples index -1,
    // shifted right by one at the last pixel samples index 4.
    QTest::newRow("reflect below") << Resampler::BOUNDARY_REFLECT << -1.0f << 20.0f;
    QTest::newRow("clamp below") << Resampler::BOUNDARY_CLAMP << -1.0f << 10.0f;
    QTest::newRow("wrap below") << Resampler::BOUNDARY_WRAP << -1.0f << 40.0f;
    QTest::newRow("reflect above") << Resampler::BOUNDARY_REFLECT << 1.0f << 40.0f;
    QTest::newRow("clamp above") << Resampler::BOUNDARY_CLAMP << 1.0f << 40.0f;
    QTest::newRow("wrap above") << Resampler::BOUNDARY_WRAP << 1.0f << 10.0f;
}

void TestTextureResampler::boundaryOps()
{
    QFETCH(Resampler::Boundary_Op, op);
    QFETCH(float, offset);
    QFETCH(float, expected);
    const std::vector<float> source = { 10.0f, 20.0f, 30.0f, 40.0f };
    Resampler resampler(4, 1, 4, 1, op, 0.0f, 0.0f, "box", nullptr, nullptr, 1.0f, 1.0f, offset,
                        0.0f);
    QCOMPARE(resampler.status(), Resampler::STATUS_OKAY);
    const std::vector<float> out = resample(resampler, source, 4, 1, 4, 1);
    QCOMPARE(out.size(), size_t(4));
    QCOMPARE(out[offset < 0 ? 0 : 3], expected);
}

void TestTextureResampler::clampingOnlyWithARange()
{
    // Sharp edges ring through lanczos, above the input's range.
    std::vector<float> source(32);
    for (int i = 0; i < 32; ++i)
        source[i] = i < 16 ? 0.0f : 1.0f;
    Resampler open(32, 1, 48, 1, Resampler::BOUNDARY_CLAMP, 0.0f, 0.0f, "lanczos3");
    const std::vector<float> unclamped = resample(open, source, 32, 1, 48, 1);
    QVERIFY(*std::max_element(unclamped.begin(), unclamped.end()) > 1.0f);
    Resampler closed(32, 1, 48, 1, Resampler::BOUNDARY_CLAMP, 0.0f, 1.0f, "lanczos3");
    const std::vector<float> clamped = resample(closed, source, 32, 1, 48, 1);
    QCOMPARE(*std::max_element(clamped.begin(), clamped.end()), 1.0f);
    QCOMPARE(*std::min_element(clamped.begin(), clamped.end()), 0.0f);
}

void TestTextureResampler::streamingOrder()
{
    // Halving with a box: destination line 0 needs source lines 0 and 1.
    std::vector<float> lines[4];
    for (int y = 0; y < 4; ++y)
        lines[y] = std::vector<float>(4, float(y));
    Resampler resampler(4, 4, 2, 2, Resampler::BOUNDARY_CLAMP, 0.0f, 0.0f, "box");
    QVERIFY(!resampler.get_line());
    QVERIFY(resampler.put_line(lines[0].data()));
    QVERIFY(!resampler.get_line());
    QVERIFY(resampler.put_line(lines[1].data()));
    const float *line = resampler.get_line();
    QVERIFY(line);
    QCOMPARE(line[0], 0.5f);
    QCOMPARE(line[1], 0.5f);
    QVERIFY(!resampler.get_line());
    QVERIFY(resampler.put_line(lines[2].data()));
    QVERIFY(resampler.put_line(lines[3].data()));
    line = resampler.get_line();
    QVERIFY(line);
    QCOMPARE(line[0], 2.5f);
    QVERIFY(!resampler.get_line()); // all lines done
    QVERIFY(!resampler.put_line(lines[0].data()));
    QCOMPARE(resampler.status(), Resampler::STATUS_OKAY);
}

void TestTextureResampler::scalingKeepsFlatPlanesFlat_data()
{
    QTest::addColumn<int>("filter");
    for (int i = 0; i < Resampler::get_filter_num(); ++i)
        QTest::newRow(Resampler::get_filter_name(i)) << i;
}

void TestTextureResampler::scalingKeepsFlatPlanesFlat()
{
    // Every list sums to one, so a flat plane stays flat at any size.
    QFETCH(int, filter);
    const char *name = Resampler::get_filter_name(filter);
    for (const QSize &target : { QSize(5, 3), QSize(23, 40) }) {
        const std::vector<float> source(13 * 11, 0.75f);
        Resampler resampler(13, 11, target.width(), target.height(), Resampler::BOUNDARY_REFLECT,
                            0.0f, 0.0f, name);
        QCOMPARE(resampler.status(), Resampler::STATUS_OKAY);
        const std::vector<float> out
            = resample(resampler, source, 13, 11, target.width(), target.height());
        QCOMPARE(int(out.size()), target.width() * target.height());
        for (float v : out)
            QVERIFY2(qAbs(v - 0.75f) < 1e-4f, name);
    }
}

void TestTextureResampler::sharedListsAndRestart()
{
    std::vector<float> source(8 * 8);
    for (size_t i = 0; i < source.size(); ++i)
        source[i] = float(i);
    Resampler first(8, 8, 3, 5, Resampler::BOUNDARY_CLAMP, 0.0f, 0.0f, "mitchell");
    const std::vector<float> a = resample(first, source, 8, 8, 3, 5);
    Resampler::Contrib_List *x = nullptr, *y = nullptr;
    first.get_clists(&x, &y);
    QVERIFY(x && y);
    Resampler second(8, 8, 3, 5, Resampler::BOUNDARY_CLAMP, 0.0f, 0.0f, "mitchell", x, y);
    QCOMPARE(resample(second, source, 8, 8, 3, 5), a);
    first.restart();
    QCOMPARE(resample(first, source, 8, 8, 3, 5), a);
}

QTEST_GUILESS_MAIN(TestTextureResampler)
#include "tst_textures_resampler.moc"
