// The merge of the window's model with the file someone else wrote, from the model both
// started from: a table of who changed what, by profile name and by option entry.
#include "fileformat.h"
#include "records.h"
#include "threewaymerge.h"

#include <QTest>

namespace {

using Profiles = QList<Profile>;

// Resolutions as "Name=value"; the other lists hold their "Default" entry alone.
struct Side
{
    QStringList resolutions;
    Profiles profiles;
};

ConfigModel Model(const Side& side)
{
    ConfigModel model{Config::NewSections(), side.profiles};
    for (const QString& entry : side.resolutions)
        model.Options(OptionKind::Resolution)
            .append({entry.section(u'=', 0, 0), entry.section(u'=', 1)});
    Config::AddDefaultEntries(model.sections);
    return model;
}

const QStringList Sizes = {"Any=", "Small= -windowsize 320x480", "Large= -windowsize 800x1280"};
const Profile Base{"Base", "", {0, 0, 0}};
const Profile Phone{"Phone", " -gpu on", {1, 0, 0}};
const Profile Tablet{"Tablet", "", {2, 0, 0}};
const Side Start{Sizes, {Base, Phone, Tablet}};

Profile With(Profile profile, const QString& arguments, int resolution = -2)
{
    profile.arguments = arguments;
    if (resolution != -2)
        ChosenIndex(profile, OptionKind::Resolution) = resolution;
    return profile;
}

} // namespace

Q_DECLARE_METATYPE(Side)

class ThreeWayMergeTest : public QObject
{
    Q_OBJECT

private slots:
    void merge_data()
    {
        QTest::addColumn<Side>("ours");
        QTest::addColumn<Side>("theirs");
        QTest::addColumn<Side>("merged"); // all from Start

        const Profile handAdded{"Watch", " -w", {1, 0, 0}};
        QTest::newRow("hand-added profile kept")
            << Side{Sizes, {Base, With(Phone, " -mine"), Tablet}}
            << Side{Sizes, {Base, Phone, Tablet, handAdded}}
            << Side{Sizes, {Base, With(Phone, " -mine"), Tablet, handAdded}};
        QTest::newRow("both changed one profile: ours keeps the name, theirs NAME (2)")
            << Side{Sizes, {Base, With(Phone, " -mine"), Tablet}}
            << Side{Sizes, {Base, With(Phone, " -theirs"), Tablet}}
            << Side{Sizes,
                    {Base, With(Phone, " -mine"), Tablet,
                     Profile{"Phone (2)", " -theirs", {1, 0, 0}}}};
        QTest::newRow("both made the same change")
            << Side{Sizes, {Base, With(Phone, " -same"), Tablet}}
            << Side{Sizes, {Base, With(Phone, " -same"), Tablet}}
            << Side{Sizes, {Base, With(Phone, " -same"), Tablet}};
        // Removing Small repaired Phone here; their new profile chose it and is repaired alike.
        const Profile theirNew{"New", "", {1, 0, 0}};
        QTest::newRow("option removed here, used there")
            << Side{{Sizes[0], Sizes[2]},
                    {Base, With(Phone, " -gpu on  -windowsize 320x480", 0), With(Tablet, "", 1)}}
            << Side{Sizes, {Base, Phone, Tablet, theirNew}}
            << Side{{Sizes[0], Sizes[2]},
                    {Base, With(Phone, " -gpu on  -windowsize 320x480", 0), With(Tablet, "", 1),
                     With(theirNew, " -windowsize 320x480", 0)}};
        QTest::newRow("removed there, unchanged here")
            << Side{Sizes, {Base, Phone, With(Tablet, " -mine")}} << Side{Sizes, {Base, Tablet}}
            << Side{Sizes, {Base, With(Tablet, " -mine")}};
        QTest::newRow("removed there, edited here: kept")
            << Side{Sizes, {Base, With(Phone, " -mine"), Tablet}} << Side{Sizes, {Base, Tablet}}
            << Side{Sizes, {Base, With(Phone, " -mine"), Tablet}};
        QTest::newRow("renamed here, edited there: both kept")
            << Side{Sizes, {Base, Profile{"Cell", " -gpu on", {1, 0, 0}}, Tablet}}
            << Side{Sizes, {Base, With(Phone, " -theirs"), Tablet}}
            << Side{
                   Sizes,
                   {Base, Profile{"Cell", " -gpu on", {1, 0, 0}}, Tablet, With(Phone, " -theirs")}};
        QTest::newRow("options added on both sides, theirs first, choices renumbered")
            << Side{Sizes + QStringList{"Mine= -m"}, {Base, With(Phone, "", 3), Tablet}}
            << Side{QStringList{"Any=", "Tiny= -t"} + Sizes.mid(1),
                    {Base, With(Phone, " -gpu on", 2), With(Tablet, "", 1)}}
            << Side{QStringList{"Any=", "Tiny= -t"} + Sizes.mid(1) + QStringList{"Mine= -m"},
                    {Base, With(Phone, "", 4), With(Tablet, "", 1)}};
        // A choice outside the list chooses nothing, on either side.
        QTest::newRow("an edit there keeps a choice of nothing here")
            << Side{Sizes, {Base, With(Phone, " -gpu on", 9), Tablet}}
            << Side{Sizes + QStringList{"Huge= -h"}, {Base, Phone, Tablet}}
            << Side{Sizes + QStringList{"Huge= -h"}, {Base, With(Phone, " -gpu on", 9), Tablet}};
    }

    void merge()
    {
        QFETCH(Side, ours);
        QFETCH(Side, theirs);
        QFETCH(Side, merged);
        const ConfigModel result = MergeThreeWay(Model(Start), Model(ours), Model(theirs));
        QCOMPARE(result.Options(OptionKind::Resolution),
                 Model(merged).Options(OptionKind::Resolution));
        QCOMPARE(result.profiles, merged.profiles);
    }

    // One side unchanged gives the other exactly, down to section 0 and duplicate names.
    void oneSideUnchanged()
    {
        ConfigModel changed = Model({Sizes, {Base, Phone, Phone, With(Tablet, " -x")}});
        Config::StoreProfiles(changed);
        QCOMPARE(MergeThreeWay(Model(Start), changed, Model(Start)), changed);
        QCOMPARE(MergeThreeWay(Model(Start), Model(Start), changed), changed);
    }
};

QTEST_GUILESS_MAIN(ThreeWayMergeTest)
#include "tst_threewaymerge.moc"
