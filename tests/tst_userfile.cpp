// The user's file as one unit, without a window: what loading gives for each state of the
// user's file and the defaults, where an out-of-date file goes, and what a save writes, refuses
// or keeps.
#include "atomicfile.h"
#include "fileformat.h"
#include "records.h"
#include "testenv.h"
#include "threewaymerge.h"
#include "userfile.h"

#include <QDir>
#include <QFileInfo>
#include <QTemporaryDir>
#include <QTest>

#include <chrono>
#include <csignal>
#include <memory>
#include <thread>

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

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

ino_t Inode(const QString& path)
{
    struct stat info = {};
    return ::stat(QFile::encodeName(path).constData(), &info) == 0 ? info.st_ino : 0;
}

} // namespace

class UserFileTest : public QObject
{
    Q_OBJECT

    std::unique_ptr<QTemporaryDir> m_dir;
    QString Path(const QString& name) const { return m_dir->filePath(name); }

    bool Put(const QString& path, const QByteArray& bytes)
    {
        if (bytes.isNull())
            return true;
        return bytes == Folder ? QDir().mkpath(path) : WriteText(path, bytes);
    }

private slots:
    void init() { m_dir = std::make_unique<QTemporaryDir>(); }

    void load_data()
    {
        QTest::addColumn<QByteArray>("user");     // null: no file
        QTest::addColumn<QByteArray>("defaults"); // null: no file
        QTest::addColumn<UserState>(
            "userState"); // Outdated: loaded by a reader that sets nothing aside
        QTest::addColumn<DefaultsState>("defaultsState");
        QTest::addColumn<QStringList>("names"); // none: nothing readable
        QTest::addColumn<QStringList>("files"); // in the folder afterwards

        const QByteArray defaults = File({"Shipped"});
        const QStringList both{"Launcher.ini", "LauncherDefault.ini"}, shipped{"Shipped"};
        QTest::newRow("user file: the defaults are not read")
            << File({"Mine"}) << QByteArray() << UserState::Loaded << DefaultsState::NotRead
            << QStringList{"Mine"} << QStringList{"Launcher.ini"};
        QTest::newRow("no user file: the defaults")
            << QByteArray() << defaults << UserState::Missing << DefaultsState::Loaded << shipped
            << QStringList{"LauncherDefault.ini"};
        QTest::newRow("unreadable user file: the defaults, the file kept")
            << Folder << defaults << UserState::Unreadable << DefaultsState::Loaded << shipped
            << both;
        QTest::newRow("out-of-date user file set aside")
            << File({"Old"}, "107") << defaults << UserState::SetAside << DefaultsState::Loaded
            << shipped << QStringList{"Launcher.107.ini", "LauncherDefault.ini"};
        QTest::newRow("out-of-date user file left where it is by a reader")
            << File({"Old"}, "102") << defaults << UserState::Outdated << DefaultsState::Loaded
            << shipped << both;
        QTest::newRow("out-of-date defaults: one Default profile")
            << QByteArray() << File({"Shipped"}, "107") << UserState::Missing
            << DefaultsState::Outdated << QStringList{"Default"}
            << QStringList{"LauncherDefault.ini"};
        QTest::newRow("nothing readable")
            << QByteArray() << Folder << UserState::Missing << DefaultsState::Unreadable
            << QStringList() << QStringList{"LauncherDefault.ini"};
    }

    void load()
    {
        QFETCH(QByteArray, user);
        QFETCH(QByteArray, defaults);
        QFETCH(UserState, userState);
        QFETCH(QStringList, names);
        const QString userPath = Path("Launcher.ini");
        QVERIFY(Put(userPath, user) && Put(Path("LauncherDefault.ini"), defaults));

        UserFile::LoadRequest request{userPath, [this] { return Path("LauncherDefault.ini"); }, {}};
        if (userState != UserState::Outdated)
            request.setAside = [&](qint32 version) {
                return UserFile::SetFileAside(userPath, version);
            };
        const UserFile::Loaded loaded = UserFile::Load(request);

        QCOMPARE(loaded.user, userState);
        QTEST(loaded.defaults, "defaultsState");
        QCOMPARE(loaded.Ok(), !names.isEmpty());
        if (loaded.Ok())
            QCOMPARE(Names(loaded.model), names);
        QTEST(QDir(m_dir->path()).entryList(QDir::AllEntries | QDir::NoDotAndDotDot), "files");
        if (userState == UserState::SetAside)
            QVERIFY(loaded.keptAt == Path("Launcher.107.ini") && ReadBytes(loaded.keptAt) == user);
    }

    void setAsideTakesFreeNames()
    {
        const QString path = Path("Launcher.ini");
        for (const QString name :
             {"Launcher.107.ini", "Launcher.107.1.ini", "Launcher.107.2.ini"}) {
            QVERIFY(WriteText(path, "$VERSION 107\n"));
            QCOMPARE(UserFile::SetFileAside(path, 107), Path(name));
            QVERIFY(!QFileInfo::exists(path));
        }
        // A file that can't move (here: it is gone) is reported at its own path.
        QCOMPARE(UserFile::SetFileAside(Path("gone/Launcher.ini"), 0), Path("gone/Launcher.ini"));
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

    void saveMergesAnotherWriter_data()
    {
        QTest::addColumn<int>("heldMs"); // how long the writer holds the file once the save starts
        QTest::addColumn<bool>("written");
        QTest::newRow("written and closed before the save: merged") << 0 << true;
        QTest::newRow("closed within the wait: merged") << 300 << true;
        QTest::newRow("still open: not replaced, the save fails") << 3000 << false;
    }

    // What another writer left since the load is merged in, not overwritten; the model then
    // holds the merge and the baseline the file as written. A file another program is still
    // writing is not replaced: what it writes after would go to a file nobody sees.
    void saveMergesAnotherWriter()
    {
        QFETCH(int, heldMs);
        QFETCH(bool, written);
        const QString path = Path("Launcher.ini");
        QVERIFY(WriteText(path, File({"Start"})));
        UserFile::Loaded loaded = UserFile::Load({path, {}, {}});
        loaded.model.profiles[0].arguments = " -mine";
        loaded.model.profiles.append({"Mine", " -q \"a b\"", {0, 0, 0}});

        const int fd = ::open(QFile::encodeName(path).constData(), O_WRONLY | O_APPEND);
        QVERIFY(fd >= 0);
        const UserFile::Writers writers = UserFile::WritersOf(path);
        if (writers == UserFile::Writers::Unknown) {
            ::close(fd);
            QSKIP("open writers can't be told on this file system");
        }
        const QByteArray theirs = File({"Theirs"}).mid(File({}).size());
        std::thread writer([fd, heldMs, &theirs] {
            std::this_thread::sleep_for(std::chrono::milliseconds(heldMs / 2));
            [[maybe_unused]] const ssize_t n = ::write(fd, theirs.constData(), theirs.size());
            std::this_thread::sleep_for(std::chrono::milliseconds(heldMs / 2));
            ::close(fd);
        });
        if (heldMs == 0)
            writer.join();
        QString reason;
        const UserFile::SaveResult result =
            UserFile::Save(path, loaded.model, loaded.baseline, &reason);
        if (writer.joinable())
            writer.join();
        QCOMPARE(writers, UserFile::Writers::Some);
        if (!written) {
            QCOMPARE(result, UserFile::SaveResult::Failed);
            QCOMPARE(reason, "another program is still writing it");
            QCOMPARE(ReadBytes(path), File({"Start"}) + theirs);
            return;
        }
        QCOMPARE(result, UserFile::SaveResult::Written);
        const UserFile::Loaded saved = UserFile::Load({path, {}, {}});
        QCOMPARE(Names(saved.model), (QStringList{"Start", "Mine", "Theirs"}));
        QCOMPARE(saved.model.profiles[0].arguments, " -mine");
        QCOMPARE(saved.model.profiles[1], (Profile{"Mine", " -q \"a b\"", {0, 0, 0}}));
        QVERIFY(SameContent(loaded.model, saved.model));
        QCOMPARE(loaded.baseline.stamp, UserFile::StampOf(path));
    }

    void writeInPlace_data()
    {
        QTest::addColumn<qint64>("sizeLimit"); // for files this process writes; 0: none
        QTest::addColumn<bool>("written");
        QTest::newRow("the new bytes land") << qint64(0) << true;
        QTest::newRow("a failed write leaves the old bytes") << qint64(4096) << false;
    }

    // The fallback for a folder that takes no temporary file: the same file, its old bytes
    // whole until the new ones are, and no copy of them left either way.
    void writeInPlace()
    {
        QFETCH(qint64, sizeLimit);
        QFETCH(bool, written);
        const QString path = Path("data/Launcher.ini");
        const QByteArray old = File({"Old"});
        const QByteArray data = File(QStringList(400, QStringLiteral("A profile name")));
        // Past any limit, with the old bytes (and their copy) well within.
        QVERIFY(data.size() > 2 * sizeLimit && 2 * old.size() < 4096);
        QVERIFY(WriteText(path, old));
        const ino_t inode = Inode(path);

        rlimit saved = {};
        QCOMPARE(::getrlimit(RLIMIT_FSIZE, &saved), 0);
        const auto previousHandler = std::signal(SIGXFSZ, SIG_IGN);
        if (sizeLimit > 0) {
            const rlimit limit = {rlim_t(sizeLimit), saved.rlim_max};
            QCOMPARE(::setrlimit(RLIMIT_FSIZE, &limit), 0);
        }
        QString reason;
        const bool ok = WriteFileInPlace(path, data, &reason, Path("state"));
        ::setrlimit(RLIMIT_FSIZE, &saved);
        std::signal(SIGXFSZ, previousHandler);

        QCOMPARE(ok, written);
        QCOMPARE(ReadBytes(path), written ? data : old);
        QCOMPARE(Inode(path), inode);
        QVERIFY(written || !reason.isEmpty());
        QVERIFY(!QFileInfo::exists(Path("state/Launcher.ini.before-save")));
    }

    // Where permissions count (not as root), a folder that takes no new file is written in
    // place by the ordinary save.
    void readOnlyFolderIsWrittenInPlace()
    {
        if (::geteuid() == 0)
            QSKIP("as root a read-only folder still takes new files");
        const QString path = Path("data/Launcher.ini");
        QVERIFY(WriteText(path, File({"Old"})));
        QVERIFY(QFile::setPermissions(Path("data"), QFile::ReadOwner | QFile::ExeOwner));
        QString reason;
        const bool ok = WriteFileAtomically(path, File({"New"}), &reason, Path("state"));
        QFile::setPermissions(Path("data"), QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
        QVERIFY2(ok, qPrintable(reason));
        QCOMPARE(ReadBytes(path), File({"New"}));
    }
};

QTEST_GUILESS_MAIN(UserFileTest)
#include "tst_userfile.moc"
