// The user's file as one unit, without a window: what loading gives for each state of the
// user's file and the defaults, where an out-of-date file goes, and what a save writes, refuses
// or keeps.
#include "fileformat.h"
#include "records.h"
#include "testenv.h"
#include "userfile.h"

#include <QDir>
#include <QFileInfo>
#include <QTemporaryDir>
#include <QTest>

using UserFile::DefaultsState;
using UserFile::UserState;

Q_DECLARE_METATYPE(UserState)
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
        QCOMPARE(UserFile::Save(path, model, {}), UserFile::SaveResult::Refused);
        QCOMPARE(ReadBytes(path), old);
    }

    void saveAfterAnotherWriter_data()
    {
        QTest::addColumn<bool>("shared");
        QTest::addColumn<QStringList>("names");
        // With the single-instance lock nobody else writes: the model is the file.
        QTest::newRow("the only writer") << false << QStringList{"Start", "Mine"};
        // Without it, the other launcher's profiles stay; for a name both have, theirs.
        QTest::newRow("another launcher may write")
            << true << QStringList{"Start", "Theirs", "Mine"};
    }

    void saveAfterAnotherWriter()
    {
        QFETCH(bool, shared);
        QFETCH(QStringList, names);
        const QString path = Path("Launcher.ini");
        QVERIFY(WriteText(path, File({"Start"})));
        UserFile::Loaded loaded = UserFile::Load({path, {}, {}});
        loaded.baseline.shared = shared;
        loaded.model.profiles[0].arguments = " -mine";
        loaded.model.profiles.append({"Mine", " -q \"a b\"", {0, 0, 0}});

        QTest::qWait(5); // a modification time of its own
        QVERIFY(WriteText(path, File({"Start", "Theirs"})));
        QCOMPARE(UserFile::Save(path, loaded.model, loaded.baseline),
                 UserFile::SaveResult::Written);
        const UserFile::Loaded saved = UserFile::Load({path, {}, {}});
        QCOMPARE(Names(saved.model), names);
        QCOMPARE(saved.model.profiles[0].arguments, shared ? "" : " -mine");
        QCOMPARE(saved.model.profiles.last(), (Profile{"Mine", " -q \"a b\"", {0, 0, 0}}));
    }
};

QTEST_GUILESS_MAIN(UserFileTest)
#include "tst_userfile.moc"
