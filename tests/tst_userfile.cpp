// The user's file as one unit, without a window: what loading gives for each state of the
// user's file and the defaults, where an out-of-date file goes, and what a save writes, refuses
// or keeps.
#include "atomicfile.h"
#include "fileformat.h"
#include "processidentity.h"
#include "records.h"
#include "recovery.h"
#include "testenv.h"
#include "threewaymerge.h"
#include "userfile.h"

#include <QDir>
#include <QFileInfo>
#include <QTemporaryDir>
#include <QTest>

#include <chrono>
#include <csignal>
#include <thread>

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

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

ino_t Inode(const QString& path)
{
    struct stat info = {};
    return ::stat(QFile::encodeName(path).constData(), &info) == 0 ? info.st_ino : 0;
}

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
        // As root no permission keeps a file from being read: a folder in its place can't be.
        QTest::newRow("unreadable") << Folder << QByteArray() << "(the system's reason)";
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
                                      UserFile::Load({{}, defaults, {}}).model,
                                      "boot:1234"};
        QVERIFY(Recovery::Writer(path).Write(written));
        if (from == Folder) {
            QVERIFY(QFile::remove(path) && QDir().mkpath(path));
            QFile folder(path);
            QVERIFY(!folder.open(QIODevice::ReadOnly));
            reason = folder.errorString();
        } else if (!from.isEmpty()) {
            QVERIFY(WriteText(path, ReadBytes(path).replace(from, to)));
        }

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
        QCOMPARE(read.process, "boot:1234");
        QVERIFY(SameContent(read.model, written.model));
        QVERIFY(SameContent(read.base, written.base));
        QCOMPARE(Recovery::Read(Path("none.ini"), "/opt/launcher", &read, &why),
                 Recovery::ReadResult::None);
    }

    // A state written before the identity was kept reads with none; its id then counts as the
    // writer only while it runs the launcher that wrote it.
    void recoveryStateWithoutIdentity()
    {
        const QString path = Path("state/recovery.ini");
        const Recovery::State written{"/opt/launcher",
                                      42,
                                      {Config::NewSections(), {}},
                                      {Config::NewSections(), {}},
                                      "boot:1234"};
        QVERIFY(Recovery::Writer(path).Write(written));
        QVERIFY(WriteText(path, ReadBytes(path).replace("#recovery-process boot:1234\n", "")));
        Recovery::State read;
        QString why;
        QCOMPARE(Recovery::Read(path, "/opt/launcher", &read, &why), Recovery::ReadResult::Usable);
        QCOMPARE(read.pid, 42);
        QVERIFY(read.process.isEmpty());

        // This test is no /opt/launcher; as itself, it is the writer.
        read.pid = ::getppid();
        QVERIFY(!Recovery::WriterStillRuns(read));
        read.launcher = ExecutableOfProcess(read.pid);
        QVERIFY(!read.launcher.isEmpty());
        QVERIFY(Recovery::WriterStillRuns(read));
        read.process = OwnProcessIdentity(); // another process's
        QVERIFY(!Recovery::WriterStillRuns(read));
        read.process = ReadProcessState(read.pid).identity;
        QVERIFY(Recovery::WriterStillRuns(read));
    }

    // A clean exit removes the state its own run wrote, and leaves one another run left that
    // it never looked at.
    void recoveryStateRemovedByItsOwnRunOnly()
    {
        const QString path = Path("state/recovery.ini");
        const ConfigModel none{Config::NewSections(), {}};
        QVERIFY(Recovery::Writer(path).Write({"/opt/launcher", 42, none, none, "boot:1234"}));
        Recovery::RemoveOwn(path);
        QVERIFY(QFileInfo::exists(path));
        QVERIFY(Recovery::Writer(path).Write(Recovery::OfThisRun(none, none)));
        Recovery::RemoveOwn(path);
        QVERIFY(!QFileInfo::exists(path));
    }

    // A writer that still holds the file open may be halfway: nothing of it is merged until it
    // closes the file, and then all of it is.
    void mergeWaitsUntilTheWriterCloses()
    {
        const QString path = Path("Launcher.ini");
        QVERIFY(WriteText(path, TestConfig()));
        UserFile::Loaded loaded = UserFile::Load({path, {}, {}});
        const UserFile::Baseline before = loaded.baseline;
        const ConfigModel model = loaded.model;

        QByteArray complete = TestConfig();
        complete.replace(
            "[Resolution]\n",
            "\"Hand\"\t\"[Resolution] 3 [PixelDensity] 3 [Input] 1 -h\"\n[Resolution]\n");
        const qsizetype half = complete.indexOf("[Resolution]") + 12;
        QFile writer(path);
        QVERIFY(writer.open(QIODevice::WriteOnly | QIODevice::Truncate | QIODevice::Unbuffered));
        if (UserFile::WritersOf(path) == UserFile::Writers::Unknown)
            QSKIP("open writers can't be told on this file system");
        QCOMPARE(UserFile::WritersOf(path), UserFile::Writers::Some);
        QCOMPARE(writer.write(complete.left(half)), half);
        for (int step = 0; step < 2; ++step) {
            ConfigModel merged = model;
            QCOMPARE(UserFile::MergeChanges(path, merged, loaded.baseline),
                     UserFile::Changes::BeingWritten);
            QCOMPARE(merged.profiles, model.profiles);
            QCOMPARE(loaded.baseline.stamp, before.stamp);
            // Complete, but still open: not yet.
            QCOMPARE(writer.write(complete.mid(half)), complete.size() - half);
            QTest::qWait(20);
        }
        writer.close();
        QCOMPARE(UserFile::WritersOf(path), UserFile::Writers::None);
        ConfigModel merged = model;
        QCOMPARE(UserFile::MergeChanges(path, merged, loaded.baseline), UserFile::Changes::Merged);
        QCOMPARE(merged.profiles.last(), (Profile{"Hand", " -h", {3, 3, 1}}));
        QCOMPARE(merged.profiles.mid(0, 4), model.profiles);
    }

    void saveWaitsForAWriter_data()
    {
        QTest::addColumn<int>("heldMs");
        QTest::addColumn<bool>("written");
        QTest::newRow("closed within the wait: merged and saved") << 300 << true;
        QTest::newRow("still open: not replaced, the save fails") << 3000 << false;
    }

    // The save does not replace a file another program is writing: what it writes after
    // would go to a file nobody sees.
    void saveWaitsForAWriter()
    {
        QFETCH(int, heldMs);
        QFETCH(bool, written);
        const QString path = Path("Launcher.ini");
        QVERIFY(WriteText(path, File({"Start"})));
        UserFile::Loaded loaded = UserFile::Load({path, {}, {}});
        loaded.model.profiles.append({"Mine", "", {0, 0, 0}});

        const int fd = ::open(QFile::encodeName(path).constData(), O_WRONLY | O_APPEND);
        QVERIFY(fd >= 0);
        if (UserFile::WritersOf(path) != UserFile::Writers::Some) {
            ::close(fd);
            QSKIP("open writers can't be told on this file system");
        }
        const QByteArray theirs = "\"Theirs\"\t\"[Resolution] 0 [PixelDensity] 0 [Input] 0 \"\n";
        std::thread writer([fd, heldMs, &theirs] {
            std::this_thread::sleep_for(std::chrono::milliseconds(heldMs / 2));
            [[maybe_unused]] const ssize_t n = ::write(fd, theirs.constData(), theirs.size());
            std::this_thread::sleep_for(std::chrono::milliseconds(heldMs / 2));
            ::close(fd);
        });
        QString reason;
        const UserFile::SaveResult result =
            UserFile::Save(path, loaded.model, loaded.baseline, &reason);
        writer.join();
        if (written) {
            QCOMPARE(result, UserFile::SaveResult::Written);
            QCOMPARE(Names(UserFile::Load({path, {}, {}}).model),
                     (QStringList{"Start", "Mine", "Theirs"}));
        } else {
            QCOMPARE(result, UserFile::SaveResult::Failed);
            QCOMPARE(reason, "another program is still writing it");
            QCOMPARE(ReadBytes(path), File({"Start"}) + theirs);
        }
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
        if (!written)
            QVERIFY(!reason.isEmpty());
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
