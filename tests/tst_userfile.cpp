// The user's file as one unit, without a window: what loading gives for each state of the
// user's file and the defaults, where an out-of-date file goes, and what a save writes, refuses
// or keeps.
#include "fileformat.h"
#include "records.h"
#include "recovery.h"
#include "testenv.h"
#include "threewaymerge.h"
#include "userfile.h"

#include <QDir>
#include <QFileInfo>
#include <QTemporaryDir>
#include <QTest>

using UserFile::DefaultsState;
using UserFile::UserState;

Q_DECLARE_METATYPE(UserState)
Q_DECLARE_METATYPE(Recovery::ReadResult)
Q_DECLARE_METATYPE(DefaultsState)

namespace {

QByteArray File(const QStringList& names, const QByteArray& version = "106")
{
    QByteArray text = "$VERSION\t" + version + "\n[Profile]\n";
    for (const QString& name : names)
        text += '"' + name.toUtf8() + "\"\t\"[Resolution] 0 [PixelDensity] 0 [Input] 0 \"\n";
    return text;
}

QStringList Names(const ConfigModel& model)
{
    QStringList names;
    for (const Profile& profile : model.profiles)
        names.append(profile.name);
    return names;
}

const QByteArray Folder = "(a folder)";

} // namespace

class UserFileTest : public QObject
{
    Q_OBJECT

    QTemporaryDir m_dir;
    QString Path(const QString& name) const { return m_dir.filePath(name); }

    bool Put(const QString& path, const QByteArray& bytes)
    {
        if (bytes.isNull())
            return true;
        return bytes == Folder ? QDir().mkpath(path) : WriteText(path, bytes);
    }

private slots:
    void init()
    {
        for (const QString& name :
             QDir(m_dir.path()).entryList(QDir::AllEntries | QDir::NoDotAndDotDot))
            QFileInfo(Path(name)).isDir() ? QDir(Path(name)).removeRecursively()
                                          : QFile::remove(Path(name));
    }

    void load_data()
    {
        QTest::addColumn<QByteArray>("user");     // null: no file
        QTest::addColumn<QByteArray>("defaults"); // null: no file
        QTest::addColumn<bool>("setAside");
        QTest::addColumn<UserState>("userState");
        QTest::addColumn<DefaultsState>("defaultsState");
        QTest::addColumn<QStringList>("names"); // none: nothing readable
        QTest::addColumn<QStringList>("files"); // in the folder afterwards

        const QByteArray defaults = File({"Shipped"});
        const QStringList both{"Launcher.ini", "LauncherDefault.ini"};
        QTest::newRow("user file: the defaults are not read")
            << File({"Mine"}) << QByteArray() << true << UserState::Loaded << DefaultsState::NotRead
            << QStringList{"Mine"} << QStringList{"Launcher.ini"};
        QTest::newRow("no user file: the defaults")
            << QByteArray() << defaults << true << UserState::Missing << DefaultsState::Loaded
            << QStringList{"Shipped"} << QStringList{"LauncherDefault.ini"};
        QTest::newRow("unreadable user file: the defaults, the file kept")
            << Folder << defaults << true << UserState::Unreadable << DefaultsState::Loaded
            << QStringList{"Shipped"} << both;
        QTest::newRow("out-of-date user file set aside")
            << File({"Old"}, "107") << defaults << true << UserState::SetAside
            << DefaultsState::Loaded << QStringList{"Shipped"}
            << QStringList{"Launcher.107.ini", "LauncherDefault.ini"};
        QTest::newRow("out-of-date user file left where it is by a reader")
            << File({"Old"}, "102") << defaults << false << UserState::Outdated
            << DefaultsState::Loaded << QStringList{"Shipped"} << both;
        QTest::newRow("out-of-date defaults: one Default profile")
            << QByteArray() << File({"Shipped"}, "107") << true << UserState::Missing
            << DefaultsState::Outdated << QStringList{"Default"}
            << QStringList{"LauncherDefault.ini"};
        QTest::newRow("nothing readable")
            << QByteArray() << Folder << true << UserState::Missing << DefaultsState::Unreadable
            << QStringList() << QStringList{"LauncherDefault.ini"};
    }

    void load()
    {
        QFETCH(QByteArray, user);
        QFETCH(QByteArray, defaults);
        QFETCH(bool, setAside);
        QFETCH(UserState, userState);
        QFETCH(DefaultsState, defaultsState);
        QFETCH(QStringList, names);
        QFETCH(QStringList, files);
        const QString userPath = Path("Launcher.ini");
        QVERIFY(Put(userPath, user) && Put(Path("LauncherDefault.ini"), defaults));

        UserFile::LoadRequest request{userPath, [this] { return Path("LauncherDefault.ini"); }, {}};
        if (setAside)
            request.setAside = [&](qint32 version) {
                return UserFile::SetFileAside(userPath, version);
            };
        const UserFile::Loaded loaded = UserFile::Load(request);

        QCOMPARE(loaded.user, userState);
        QCOMPARE(loaded.defaults, defaultsState);
        QCOMPARE(loaded.Ok(), !names.isEmpty());
        if (loaded.Ok())
            QCOMPARE(Names(loaded.model), names);
        QCOMPARE(QDir(m_dir.path()).entryList(QDir::AllEntries | QDir::NoDotAndDotDot), files);
        if (userState == UserState::SetAside) {
            QCOMPARE(loaded.keptAt, Path("Launcher.107.ini"));
            QCOMPARE(ReadBytes(loaded.keptAt), user);
        }
    }

    void setAsideTakesFreeNames()
    {
        const QString path = Path("Launcher.ini");
        const QStringList names{"Launcher.107.ini", "Launcher.107.1.ini", "Launcher.107.2.ini"};
        for (const QString& name : names) {
            QVERIFY(WriteText(path, "$VERSION 107\n"));
            QCOMPARE(UserFile::SetFileAside(path, 107), Path(name));
            QVERIFY(!QFileInfo::exists(path));
        }
        // A file that can't move (here: it is gone) is reported at its own path.
        const QString missing = Path("gone/Launcher.ini");
        QCOMPARE(UserFile::SetFileAside(missing, 0), missing);
    }

    // An out-of-date file that stayed must outlive the session; so must a file when the model
    // lost a section.
    void saveRefusesToReplaceWhatMustStay()
    {
        const QString path = Path("Launcher.ini");
        const QByteArray old = File({"Old"}, "107");
        QVERIFY(WriteText(path, old));
        UserFile::LoadRequest request{path, [this] { return Path("none.ini"); }, {}};
        request.setAside = [&path](qint32) { return path; };
        UserFile::Loaded loaded = UserFile::Load(request);
        QCOMPARE(loaded.user, UserState::KeptInPlace);
        ConfigModel model{Config::NewSections(), {{"New", "", {}}}};
        QCOMPARE(UserFile::Save(path, model, loaded.baseline), UserFile::SaveResult::Refused);
        model.sections.removeLast();
        UserFile::Baseline none;
        QCOMPARE(UserFile::Save(path, model, none), UserFile::SaveResult::Refused);
        QCOMPARE(ReadBytes(path), old);
    }

    // What another writer left since the load is merged in, not overwritten; the model then
    // holds the merge and the baseline the file as written.
    void saveMergesAnotherWriter()
    {
        const QString path = Path("Launcher.ini");
        QVERIFY(WriteText(path, File({"Start", "Gone"})));
        UserFile::Loaded loaded = UserFile::Load({path, {}, {}});
        loaded.model.profiles[0].arguments = " -mine";
        loaded.model.profiles.append({"Mine", " -q \"a b\"", {0, 0, 0}});

        QVERIFY(WriteText(path, File({"Start", "Theirs"})));
        QCOMPARE(UserFile::Save(path, loaded.model, loaded.baseline),
                 UserFile::SaveResult::Written);
        const UserFile::Loaded saved = UserFile::Load({path, {}, {}});
        QCOMPARE(Names(saved.model), (QStringList{"Start", "Mine", "Theirs"}));
        QCOMPARE(saved.model.profiles[0].arguments, " -mine");
        QCOMPARE(saved.model.profiles[1], (Profile{"Mine", " -q \"a b\"", {0, 0, 0}}));
        QVERIFY(SameContent(loaded.model, saved.model));
        QCOMPARE(loaded.baseline.stamp, UserFile::StampOf(path));
    }

    // Never merged into garbage: the file is kept aside as an out-of-date one is.
    void saveSetsAsideAFileTurnedUnreadable()
    {
        const QString path = Path("Launcher.ini");
        QVERIFY(WriteText(path, File({"Start"})));
        UserFile::Loaded loaded = UserFile::Load({path, {}, {}});
        const QByteArray garbage = "\x01\x02 not a configuration\n";
        QVERIFY(WriteText(path, garbage));
        QCOMPARE(UserFile::Save(path, loaded.model, loaded.baseline),
                 UserFile::SaveResult::Written);
        QCOMPARE(ReadBytes(Path("Launcher.0.ini")), garbage);
        QCOMPARE(Names(UserFile::Load({path, {}, {}}).model), QStringList{"Start"});
    }

    void recoveryState_data()
    {
        QTest::addColumn<QByteArray>("from"); // replaced in what was written
        QTest::addColumn<QByteArray>("to");
        QTest::addColumn<QString>("reason"); // empty: usable
        QTest::newRow("as written") << QByteArray() << QByteArray() << QString();
        QTest::newRow("cut short")
            << QByteArray("#recovery-end\n") << QByteArray() << "it is cut short";
        QTest::newRow("another format")
            << QByteArray("#recovery 1\n") << QByteArray("#recovery 2\n")
            << "it was written in another format";
        QTest::newRow("another installed copy")
            << QByteArray("launcher /opt/launcher\n") << QByteArray("launcher /opt/other\n")
            << "it belongs to the launcher installed at /opt/other";
        QTest::newRow("a model damaged")
            << QByteArray("$VERSION\t106") << QByteArray("$VERSION\t99") << "it is damaged";
    }

    // Both models come back exactly, an empty base included; anything else is refused whole
    // and kept aside.
    void recoveryState()
    {
        QFETCH(QByteArray, from);
        QFETCH(QByteArray, to);
        QFETCH(QString, reason);
        const QString path = Path("state/recovery.ini");
        const auto defaults = [] { return SourceResource("LauncherDefault.ini"); };
        const Recovery::State written{"/opt/launcher",
                                      42,
                                      {Config::NewSections(), {}},
                                      UserFile::Load({{}, defaults, {}}).model};
        QVERIFY(Recovery::Writer(path).Write(written));
        if (!from.isEmpty())
            QVERIFY(WriteText(path, ReadBytes(path).replace(from, to)));

        Recovery::State read;
        QString why;
        const Recovery::ReadResult result = Recovery::Read(path, "/opt/launcher", &read, &why);
        QCOMPARE(why, reason);
        if (!reason.isEmpty()) {
            QCOMPARE(result, Recovery::ReadResult::Unusable);
            QCOMPARE(Recovery::SetAside(path), Path("state/recovery.unused-1.ini"));
            return;
        }
        QCOMPARE(result, Recovery::ReadResult::Usable);
        QCOMPARE(read.pid, 42);
        QVERIFY(SameContent(read.model, written.model));
        QVERIFY(SameContent(read.base, written.base));
        QCOMPARE(Recovery::Read(Path("none.ini"), "/opt/launcher", &read, &why),
                 Recovery::ReadResult::None);
    }
};

QTEST_GUILESS_MAIN(UserFileTest)
#include "tst_userfile.moc"
