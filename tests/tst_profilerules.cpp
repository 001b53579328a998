// The rules behind the profile list's menu, without a window: which names a profile may take,
// the name and place of a duplicate, and where a profile may move.
#include "model.h"
#include "records.h"

#include <QTest>

Q_DECLARE_METATYPE(NameFault)

namespace {

QList<Profile> Named(const QStringList& names)
{
    QList<Profile> profiles;
    for (int i = 0; i < names.size(); ++i)
        profiles.append({names[i], QStringLiteral(" -n %1").arg(i), {i, 0, 1}});
    return profiles;
}

} // namespace

class ProfileRulesTest : public QObject
{
    Q_OBJECT

private slots:
    void renameFault()
    {
        const QList<Profile> profiles = Named({"Base", "Phone", "Tablet"});
        QCOMPARE(RenameFault(profiles, 1, "Phone"), NameFault::None); // its own name
        QCOMPARE(RenameFault(profiles, 1, "base"), NameFault::None);
        QCOMPARE(RenameFault(profiles, 1, "   "), NameFault::None);
        QCOMPARE(RenameFault(profiles, 1, "Base"), NameFault::Taken);
        QCOMPARE(RenameFault(profiles, 1, "Phone \"HD\""), NameFault::Quote);
    }

    void duplicate_data()
    {
        QTest::addColumn<QStringList>("names");
        QTest::addColumn<QString>("copyName"); // of Phone, row 1
        QTest::newRow("copy taken, numbered from 2")
            << QStringList{"Base", "Phone", "Phone copy"} << "Phone copy 2";
        QTest::newRow("numbers taken elsewhere in the list")
            << QStringList{"Phone copy 2", "Phone", "Phone copy", "Phone copy 3"} << "Phone copy 4";
    }

    void duplicate()
    {
        QFETCH(QStringList, names);
        QFETCH(QString, copyName);
        QList<Profile> profiles = Named(names);
        QList<Profile> expected = profiles;
        expected.insert(2, {copyName, profiles[1].arguments, {1, 0, 1}});

        QCOMPARE(DuplicateProfile(profiles, 1), 2);
        QCOMPARE(profiles, expected);
    }

    void move_data()
    {
        QTest::addColumn<int>("row");
        QTest::addColumn<int>("delta");
        QTest::addColumn<int>("target"); // -1: refused, nothing moves
        QTest::newRow("two rows at once") << 3 << -2 << 1;
        QTest::newRow("the base row down") << 0 << 1 << -1;
        QTest::newRow("row beyond the list") << 4 << -1 << -1;
        QTest::newRow("no row") << -1 << 1 << -1;
    }

    void move()
    {
        QFETCH(int, row);
        QFETCH(int, delta);
        QFETCH(int, target);
        QList<Profile> profiles = Named({"Base", "A", "B", "C"});
        QList<Profile> expected = profiles;
        if (target >= 0)
            expected.move(row, target);

        QCOMPARE(MoveTarget(profiles, row, delta), target);
        QCOMPARE(MoveProfile(profiles, row, delta), target);
        QCOMPARE(profiles, expected);
    }
};

QTEST_MAIN(ProfileRulesTest)
#include "tst_profilerules.moc"
