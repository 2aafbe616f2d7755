#include "app/ProgramSettings_t.h"

#include <QFile>
#include <QTemporaryDir>
#include <QtTest>
#include <memory>

class TestSettings : public QObject
{
    Q_OBJECT

    QTemporaryDir m_dir;

    std::unique_ptr<ProgramSettings_t> load(const QByteArray &text)
    {
        const QString path = m_dir.filePath(QStringLiteral("noitazilait.ini"));
        QFile file(path);
        file.open(QIODevice::WriteOnly | QIODevice::Truncate);
        file.write(text);
        file.close();
        return std::make_unique<ProgramSettings_t>(path);
    }

private Q_SLOTS:
    void defaultsWithoutFile()
    {
        ProgramSettings_t settings(m_dir.filePath(QStringLiteral("missing.ini")));
        QVERIFY(!settings.reload());
        QVERIFY(settings.minimizeOutput);
        QVERIFY(!settings.logOutputToFile);
        QCOMPARE(settings.linuxCommandRun, QStringLiteral("xdg-open *"));
        QCOMPARE(settings.windowsCommandRun, QStringLiteral("start *"));
        QVERIFY(settings.shaderNames->isEmpty());
        QCOMPARE(settings.particleTemplates->size(), 4);
        QVERIFY(!QFile::exists(m_dir.filePath(QStringLiteral("missing.ini"))));
    }

    void readOnlyFileKeepsDefaults()
    {
        const QString path = m_dir.filePath(QStringLiteral("readonly.ini"));
        QFile file(path);
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write("[shaders]\nLightmappedGeneric:x\n[/shaders]\n");
        file.close();
        QFile::setPermissions(path, QFile::ReadOwner | QFile::ReadUser);
        if (QFileInfo(path).isWritable())
            QSKIP("running with privileges that ignore file permissions");
        ProgramSettings_t settings(path);
        QVERIFY(!settings.reload());
        QVERIFY(settings.shaderNames->isEmpty());
    }

    void generalBooleans_data()
    {
        QTest::addColumn<QByteArray>("line");
        QTest::addColumn<bool>("minimize");
        QTest::newRow("upper case true") << QByteArray("minimize_output_on_startup:TRUE") << true;
        QTest::newRow("blank before value")
            << QByteArray("minimize_output_on_startup: true") << false;
        QTest::newRow("false") << QByteArray("minimize_output_on_startup:false") << false;
        QTest::newRow("anything else") << QByteArray("minimize_output_on_startup:yes") << false;
        QTest::newRow("key is case sensitive")
            << QByteArray("Minimize_output_on_startup:false") << true;
        QTest::newRow("no separator") << QByteArray("minimize_output_on_startup") << true;
    }

    void generalBooleans()
    {
        QFETCH(QByteArray, line);
        QFETCH(bool, minimize);
        auto settings = load("[general]\n" + line + "\n[/general]\n");
        QCOMPARE(settings->minimizeOutput, minimize);
    }

    void generalStrings()
    {
        auto settings = load(
            "[general]\nlinux_command_run:a:b *\nwindows_command_run:\nlog_output_to_file:true\n"
            "check_for_updates_on_startup:True\n[/general]\n");
        QCOMPARE(settings->linuxCommandRun, QStringLiteral("a:b *"));
        QCOMPARE(settings->windowsCommandRun, QString());
        QVERIFY(settings->logOutputToFile);
        QVERIFY(settings->checkForUpdates);
    }

    void version()
    {
        auto settings = load("# noitazilait version 42 \n");
        QCOMPARE(settings->version, 42u);
        settings = load("# NOITAZILAIT VERSION abc\n");
        QCOMPARE(settings->version, 0u);
    }

    void emptySectionTakesItsClosingTag()
    {
        auto settings = load("[shaders]\n[/shaders]\nA:a\n[/shaders]\n");
        QCOMPARE(*settings->shaderNames, QStringList({ "[/shaders]", "A" }));
        QCOMPARE(*settings->shaderValues, QStringList({ "[/shaders]", "a" }));
    }

    void closingTagWithBlankIsALine()
    {
        auto settings
            = load("[general]\nlinux_command_run:x\n[/general] \n[shaders]\nA:a\n[/shaders]\n"
                   "minimize_output_on_startup:false\nlast\n");
        // Everything after the damaged tag belongs to [general]: the shader lines
        // are unknown keys there, and the minimize key is still read.
        QVERIFY(settings->shaderNames->isEmpty());
        QVERIFY(!settings->minimizeOutput);
        QCOMPARE(settings->linuxCommandRun, QStringLiteral("x"));
    }

    void unclosedSectionLosesLastLine()
    {
        auto settings = load("[shaders]\nA:a\nB:b\nC:c");
        QCOMPARE(*settings->shaderNames, QStringList({ "A", "B" }));
        settings = load("[shaders]\nA:a\nB:b\nC:c\n");
        QCOMPARE(*settings->shaderNames, QStringList({ "A", "B" }));
    }

    void rawLinesAndComments()
    {
        auto settings
            = load("[soundchars]\n#:label\n;comment\n ;not a comment\n*\n[/soundchars]\n"
                   "[parameters]\n#comment\n;comment\n $basetexture: The texture\n[/parameters]\n");
        QCOMPARE(*settings->soundChars, QStringList({ "#", " ;not a comment", "*" }));
        QCOMPARE(*settings->soundCharLabels, QStringList({ "label", " ;not a comment", "*" }));
        QCOMPARE(*settings->parameterNames, QStringList({ " $basetexture" }));
        QCOMPARE(*settings->parameterValues, QStringList({ " The texture" }));
    }

    void unknownSectionIsIgnored()
    {
        auto settings
            = load("[unknown]\n[general]\nminimize_output_on_startup:false\n[/general]\n");
        QVERIFY(!settings->minimizeOutput);
        settings = load("[GENERAL]\nminimize_output_on_startup:false\n[/GENERAL]\n");
        QVERIFY(settings->minimizeOutput);
    }

    void proxies_data()
    {
        QTest::addColumn<QByteArray>("line");
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("body");
        QTest::addColumn<QString>("extras");
        QTest::addColumn<bool>("extrasNull");
        QTest::newRow("name only") << QByteArray("Sine") << "Sine"
                                   << "Sine"
                                   << "" << false;
        QTest::newRow("body") << QByteArray("Sine:a\\b") << "Sine"
                              << "a\nb" << QString() << true;
        QTest::newRow("body and extras") << QByteArray("A:x\\y:z") << "A"
                                         << "x\ny"
                                         << "z" << false;
        QTest::newRow("extras keep colons and slashes") << QByteArray("A:x:y:z\\w") << "A"
                                                        << "x"
                                                        << "y:z\\w" << false;
    }

    void proxies()
    {
        QFETCH(QByteArray, line);
        QFETCH(QString, name);
        QFETCH(QString, body);
        QFETCH(QString, extras);
        QFETCH(bool, extrasNull);
        auto settings = load("[proxies]\n" + line + "\n[/proxies]\n");
        QCOMPARE(*settings->proxyNames, QStringList({ name }));
        QCOMPARE(*settings->proxyBodies, QStringList({ body }));
        QCOMPARE(settings->proxyExtras->size(), 1);
        QCOMPARE(settings->proxyExtras->at(0), extras);
        QCOMPARE(settings->proxyExtras->at(0).isNull(), extrasNull);
    }

    void nestedSections()
    {
        auto settings = load(
            "[vpakfile]\nscan_pak_vmts:true\nnew_pakfile_extra_reserve:12\n"
            "[studiokeys]\nmodel\n[/studiokeys]\n"
            "[materialkeys]\nmaterial\n[/materialkeys]\n"
            "[vmtmaterialkeys]\n$bottommaterial\n[/vmtmaterialkeys]\n"
            "[vmttexturekeys]\n$basetexture\n$envmap:env_cubemap:\n$bumpmap:a::b\n[/"
            "vmttexturekeys]\n"
            "[specialkeys]\nskyname:materials/skybox/*\nodd\n[/specialkeys]\n"
            "[mapfiles]\nmaps/*.nav:Navigation\nmaps/*.txt\n[/mapfiles]\n"
            "[/vpakfile]\n"
            "[vbspinfo]\nsaveLumpNameNotNumber:true\n[bsplumps]\n0:Entities\n[/bsplumps]\n[/"
            "vbspinfo]\n"
            "[vvbsp]\nignored:line\n[detailorientations]\nNo rotation\n[/detailorientations]\n"
            "[spriteshapes]\nTRI:3\nCross\n[/spriteshapes]\n[/vvbsp]\n");
        QVERIFY(settings->scanPakVmts);
        QVERIFY(!settings->scanPakMdls);
        QCOMPARE(settings->newPakfileExtraReserve, 12);
        QCOMPARE(*settings->studioKeys, QStringList({ "model" }));
        QCOMPARE(*settings->materialKeys, QStringList({ "material", "$bottommaterial" }));
        QVERIFY(settings->vmtMaterialKeys->isEmpty());
        QCOMPARE(*settings->vmtTextureKeys, QStringList({ "$basetexture", "$envmap", "$bumpmap" }));
        QCOMPARE(settings->vmtTextureKeyFiles->size(), 3);
        QVERIFY(!settings->vmtTextureKeyFiles->at(0));
        QCOMPARE(*settings->vmtTextureKeyFiles->at(1), QStringList({ "env_cubemap" }));
        QCOMPARE(*settings->vmtTextureKeyFiles->at(2), QStringList({ "a", "b" }));
        QCOMPARE(*settings->specialKeys, QStringList({ "skyname", "odd" }));
        QCOMPARE(*settings->specialKeyPatterns, QStringList({ "materials/skybox/*", "/*" }));
        QCOMPARE(*settings->mapFileCategories, QStringList({ "Navigation", "Other" }));
        QVERIFY(settings->saveLumpNameNotNumber);
        QCOMPARE(*settings->bspLumpLabels, QStringList({ "Entities" }));
        QCOMPARE(*settings->detailOrientations, QStringList({ "No rotation" }));
        QCOMPARE(*settings->spriteShapeNames, QStringList({ "tri", "cross" }));
        QCOMPARE(*settings->spriteShapeValues, QStringList({ "3", "" }));
    }

    void reloadReplacesLists()
    {
        auto settings = load("[shaders]\nA:a\n[/shaders]\n");
        QCOMPARE(settings->shaderNames->size(), 1);
        QVERIFY(settings->reload());
        QCOMPARE(settings->shaderNames->size(), 1);
    }

    void longLineWithoutSeparator()
    {
        // The separator scan is bounded; a huge line must neither hang nor crash.
        const QByteArray line(70000, 'x');
        auto settings = load("[shaders]\n" + line + "\n" + line + ":tail\n[/shaders]\n");
        QCOMPARE(settings->shaderNames->size(), 2);
        QCOMPARE(settings->shaderNames->at(0).size(), 70000);
    }

    void shippedFileIsReadable()
    {
        ProgramSettings_t settings(QStringLiteral(ZIRK_SOURCE_DIR "/resources/noitazilait.ini"));
        QVERIFY(settings.shaderNames->size() >= 30);
        QVERIFY(settings.parameterNames->size() >= 30);
        QVERIFY(settings.proxyNames->size() >= 20);
        QVERIFY(settings.soundChars->contains(QStringLiteral("#")));
        QVERIFY(settings.studioKeys->contains(QStringLiteral("model")));
        QVERIFY(settings.mapFiles->size() >= 5);
        QVERIFY(settings.detailOrientations->size() >= 3);
        QVERIFY(settings.spriteShapeNames->size() >= 2);
        QCOMPARE(settings.shaderNames->size(), settings.shaderValues->size());
        QCOMPARE(settings.proxyNames->size(), settings.proxyBodies->size());
        QVERIFY(settings.version > 0);
    }
};

QTEST_GUILESS_MAIN(TestSettings)
#include "tst_app_settings.moc"
