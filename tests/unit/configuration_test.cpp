// The configuration file: its hash table, the reading rules, the writer's
// lines, the round trip, hostile files, the path choice and the safe rewrite.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstring>
#include <filesystem>
#include <random>

#include "app/configuration_file.h"
#include "test_files.h"

using namespace quivel;
using testsupport::readFile;
using testsupport::TempDir;
using testsupport::writeFile;

namespace {

const std::vector<std::string> kFormats = {"jpeg", "png", "gif", "verylongname"};

struct Loaded {
    Settings settings;
    std::vector<FileTypeFlag> types;
};

// Settings is large: keep it off the stack.
std::unique_ptr<Loaded> readText(const std::string &text, const std::vector<std::string> &formats = kFormats) {
    TempDir dir;
    writeFile(dir.file("rc"), text);
    auto loaded = std::make_unique<Loaded>();
    readConfigurationFile(dir.file("rc"), formats, loaded->settings, loaded->types);
    return loaded;
}

std::string defaultText() { return readFile(testsupport::dataPath("configuration/default.quivelrc")); }

std::string enabledNames(const std::vector<FileTypeFlag> &types) {
    std::string names;
    for (const FileTypeFlag &t : types)
        if (t.enabled) names += std::string(t.name) + " ";
    return names;
}

}  // namespace

TEST(KeyValueTable, HashCountsTheLastSixteenSignedCharacters) {
    EXPECT_EQ(KeyValueTable::hash("abc"), 'a' + 'b' + 'c');
    EXPECT_EQ(KeyValueTable::hash("0123456789ABCDEFGHIJ"), KeyValueTable::hash("456789ABCDEFGHIJ"));
    EXPECT_EQ(KeyValueTable::hash("\xc3\xa9"), -61 - 87);
    KeyValueTable table;
    table.insert("\xc3\xa9t\xc3\xa9", "summer");   // a negative hash still finds its slot
    EXPECT_STREQ(table.lookup("\xc3\xa9t\xc3\xa9"), "summer");
}

TEST(KeyValueTable, FirstInsertionWinsAndCollisionsWrapAround) {
    KeyValueTable table;
    // 8 x 'z' + '/' = 1023: the last slot, so the next two keys of that sum wrap to slots 0 and 1.
    table.insert("zzzzzzzz/", "a");
    table.insert("/zzzzzzzz", "b");
    table.insert("zzzz/zzzz", "c");
    table.insert("zzzzzzzz0", "d");   // sum 1024: home slot 0, already taken
    table.insert("/zzzzzzzz", "second");
    EXPECT_STREQ(table.lookup("zzzzzzzz/"), "a");
    EXPECT_STREQ(table.lookup("/zzzzzzzz"), "b");
    EXPECT_STREQ(table.lookup("zzzz/zzzz"), "c");
    EXPECT_STREQ(table.lookup("zzzzzzzz0"), "d");
    EXPECT_EQ(table.lookup("zzzzzzz/z"), nullptr);
    EXPECT_EQ(table.size(), 4u);
}

TEST(KeyValueTable, DoublesWhenEightyPercentFull) {
    KeyValueTable table;
    for (int i = 0; i < 819; ++i) table.insert("key" + std::to_string(i), std::to_string(i));
    EXPECT_EQ(table.capacity(), 1024u);
    table.insert("one more", "x");
    EXPECT_EQ(table.capacity(), 2048u);
    for (int i = 0; i < 819; ++i) ASSERT_STREQ(table.lookup("key" + std::to_string(i)), std::to_string(i).c_str());
}

TEST(ConfigurationRead, MissingFileGivesTheDefaultsAndWritesThemInOrder) {
    auto loaded = std::make_unique<Loaded>();
    readConfigurationFile("/nonexistent/.quivelrc", {"jpeg", "png"}, loaded->settings, loaded->types);
    EXPECT_EQ(configurationText(loaded->settings, loaded->types),
              defaultText() + "FileTypes.jpeg = True\nFileTypes.png = True\n");
    EXPECT_EQ(loaded->settings.view.gamma, 1.0);
    EXPECT_EQ(loaded->settings.html.tableRows, 4) << "read with its default, though never written";
}

TEST(ConfigurationRead, TokenRules) {
    const std::string longValue(100, 'v');
    auto loaded = readText("View.UseUndo=False\n"
                           "PathLoad = /home/a b/pics\n"
                           "PathSave = \n"
                           " \t View.Fit \t=\t 0  trailing words\n"
                           "Start.X =-5\n"
                           "start.y = 7\n"
                           "# View.StatusBar = False\n"
                           "[View]\n"
                           "Rename.Template = " + longValue + "\n"
                           "Save.DefaultFormat = abcdefghijklmnopqrstuvwxyz\n"
                           + std::string(511, 'a') + "Start.Y = 9\n"
                           "Start.Width = 3");   // no newline at the end
    const Settings &s = loaded->settings;
    EXPECT_TRUE(s.view.useUndo) << "no blank before '='";
    EXPECT_STREQ(s.pathLoad, "/home/a") << "the value is cut at its first blank";
    EXPECT_STREQ(s.pathSave, "");
    EXPECT_EQ(s.view.fit, 0);
    EXPECT_EQ(s.start.x, -5);
    EXPECT_EQ(s.start.y, 9) << "a long line is read in 511-byte pieces";
    EXPECT_EQ(s.start.width, 3);
    EXPECT_TRUE(s.view.statusBar);
    EXPECT_EQ(std::string(s.rename.nameTemplate), longValue.substr(0, 63)) << "cut to the buffer, terminated";
    EXPECT_STREQ(s.save.defaultFormat, "abcdefghijklmno");
}

TEST(ConfigurationRead, BooleansIntegersAndTheFirstOccurrence) {
    auto loaded = readText("Start.SavePosition = TRUE\nStart.OpenAll = 1\nView.StatusBar = yes\n"
                           "View.ToolBar = 2\nView.UseUndo = -1\nBrowser.ShowDirList = FaLsE\n"
                           "Browser.ShowPreview = 0\nView.ShowFilename = 1abc\n"
                           "View.MouseNavigation = 2\nView.MouseNavigation = False\n"   // the first line wins, though invalid
                           "Browser.Width = 300\nBrowser.Width = 400\n"
                           "View.FileListSort = 132\nView.Fit = 257\nSave.JpegQuality = 500\nSlide.Timer = 70000\n"
                           "Browser.X = abc\nBrowser.Y = 12px\nBrowser.Height = 4294967297\n");
    const Settings &s = loaded->settings;
    EXPECT_TRUE(s.start.savePosition);
    EXPECT_TRUE(s.start.openAll);
    EXPECT_FALSE(s.view.statusBar) << "a word converts to 0";
    EXPECT_TRUE(s.view.toolBar) << "2 leaves the default";
    EXPECT_TRUE(s.view.useUndo) << "-1 leaves the default";
    EXPECT_FALSE(s.browser.showDirList);
    EXPECT_FALSE(s.browser.showPreview);
    EXPECT_TRUE(s.view.showFilename);
    EXPECT_TRUE(s.view.mouseNavigation);
    EXPECT_EQ(s.browser.width, 300);
    EXPECT_EQ(s.view.fileListSort, 132) << "reverse order stays positive";
    EXPECT_EQ(s.view.fit, 1) << "truncated to a byte";
    EXPECT_EQ(s.save.jpegQuality, 500 & 0xff);
    EXPECT_EQ(s.slide.timer, 70000 & 0xffff);
    EXPECT_EQ(s.browser.x, 0);
    EXPECT_EQ(s.browser.y, 12);
    EXPECT_EQ(s.browser.height, 1);
}

TEST(ConfigurationRead, ToolbarRenameAndGammaRules) {
    auto loaded = readText("Start.ToolbarViewConfig = 0\nStart.ToolbarBrowserConfig = 5\n"
                           "Rename.Start = 5\nRename.Step = 0\nView.Gamma = 2.346\n");
    Settings &s = loaded->settings;
    EXPECT_EQ(s.start.toolbarViewConfig, -100664321);
    EXPECT_EQ(s.start.toolbarBrowserConfig, 5);
    EXPECT_EQ(s.rename.start, 0) << "read with the boolean rule";
    EXPECT_EQ(s.rename.step, 0);
    EXPECT_DOUBLE_EQ(s.view.gamma, 2.346);

    s.rename.start = 7;
    s.rename.step = 3;
    const std::string text = configurationText(s, {});
    EXPECT_NE(text.find("\nRename.Start = 7\nRename.Step = 3\n"), std::string::npos);
    EXPECT_NE(text.find("\nView.Gamma = 2.35\n"), std::string::npos);
    EXPECT_NE(text.find("\nStart.ToolbarViewConfig = -100664321\nStart.ToolbarBrowserConfig = 5\n"),
              std::string::npos);
    auto again = readText(text);
    EXPECT_EQ(again->settings.rename.start, 0) << "a number other than 0 or 1 comes back as the default";
    EXPECT_EQ(again->settings.rename.step, 1);
}

TEST(ConfigurationRead, FileTypesDefaults) {
    EXPECT_EQ(enabledNames(readText("View.Fit = 0\n")->types), "jpeg png gif verylongn ");
    EXPECT_EQ(enabledNames(readText("FileTypes.png = False\n")->types), "jpeg gif verylongn ")
        << "without a jpeg line the formats not named are on";
    EXPECT_EQ(enabledNames(readText("FileTypes.jpeg = True\nFileTypes.gif = TRUE\n")->types), "jpeg gif ")
        << "formats an earlier run did not list stay off";
    EXPECT_EQ(enabledNames(readText("FileTypes.jpeg = False\nFileTypes.verylongn = True\n")->types), "verylongn ");
    EXPECT_EQ(enabledNames(readText("FileTypes.jpeg = True\nFileTypes.png = True\n", {"png", "gif"})->types), "png ")
        << "the jpeg line decides even when the library has no jpeg";
    const auto loaded = readText("", {"png", "gif"});
    EXPECT_EQ(configurationText(loaded->settings, loaded->types),
              defaultText() + "FileTypes.png = True\nFileTypes.gif = True\n");
}

TEST(ConfigurationWrite, PurgeEmptiesTheThreePathLists) {
    auto loaded = readText("PathLoad = /p\nFileName_0 = /f0\nDirName_3 = /d3\nFile.DirName_9 = /c9\n"
                           "Start.PurgeMostRecentlyUsed = True\nContactSheet.HeadNote = x\n");
    std::strcpy(loaded->settings.contactSheet.headNote, "two words");
    std::string expected = defaultText();
    const auto replace = [&](const std::string &from, const std::string &to) {
        expected.replace(expected.find(from), from.size(), to);
    };
    replace("PathLoad = \n", "PathLoad = /p\n");
    replace("Start.PurgeMostRecentlyUsed = False", "Start.PurgeMostRecentlyUsed = True");
    replace("ContactSheet.HeadNote = \n", "ContactSheet.HeadNote = two words\n");
    EXPECT_EQ(configurationText(loaded->settings, {}), expected);
    loaded->settings.start.purgeMostRecentlyUsed = false;
    EXPECT_NE(configurationText(loaded->settings, {}).find("\nFileName_0 = /f0\n"), std::string::npos);
}

TEST(ConfigurationWrite, EveryKeySurvivesARoundTrip) {
    auto original = readText("");
    Settings &s = original->settings;
    int i = 0;
    for (const SettingKey &key : settingKeys()) {
        ++i;
        if (key.flags & kNotWritten) continue;
        switch (key.storage) {
        case Storage::Bool: setSettingNumber(s, key, !key.defaultNumber); break;
        case Storage::Byte:
        case Storage::Word:
        case Storage::Int:
            setSettingNumber(s, key, (key.flags & kReadAsBool) ? !key.defaultNumber : key.defaultNumber + 100 + i);
            break;
        case Storage::Text: setSettingText(s, key, "/v" + std::to_string(i) + key.name); break;
        case Storage::Real: setSettingReal(s, key, 0.25); break;
        }
    }
    s.start.purgeMostRecentlyUsed = false;   // else the path lists are written empty
    original->types[1].enabled = 0;
    const std::string text = configurationText(s, original->types);
    auto reread = readText(text);
    EXPECT_EQ(std::memcmp(&reread->settings, &s, sizeof s), 0);
    EXPECT_EQ(enabledNames(reread->types), "jpeg gif verylongn ");
    EXPECT_EQ(configurationText(reread->settings, reread->types), text);
}

TEST(ConfigurationRead, HostileFilesAreReadWithoutHarm) {
    std::string text;
    std::mt19937 random(7);
    for (int i = 0; i < 1 << 20; ++i) text += char(random());
    text += "\n" + std::string(10 << 20, 'x') + "\n";
    // 100,000 unknown keys that all share one hash, and as many copies of a known key.
    for (int a = 0; a < 100000; ++a) {
        const int p = 40 + a % 80, q = 40 + a / 80 % 80, r = 40 + a / 6400;
        text += std::string{char(p), char(160 - p), '.', char(q), char(160 - q), '.', char(r), char(160 - r)} + " = 1\n";
    }
    for (int a = 0; a < 100000; ++a) text += "Browser.Layout = 3\n";
    text += "View.Fit = 6\n";
    auto loaded = readText(text);
    EXPECT_EQ(loaded->settings.view.fit, 6);
    EXPECT_EQ(loaded->settings.browser.layout, 3);
}

TEST(ConfigurationPath, IniThenStartFolderThenHome) {
    TempDir start, home;
    EXPECT_EQ(chooseConfigurationPath("my.rc", start.path(), home.path().c_str()), "my.rc");
    EXPECT_EQ(chooseConfigurationPath("", start.path(), home.path().c_str()), home.file(".quivelrc"));
    EXPECT_EQ(chooseConfigurationPath("", start.path(), nullptr), start.file(".quivelrc"));
    EXPECT_EQ(chooseConfigurationPath("", start.path(), ""), start.file(".quivelrc"));
    mkdir(start.file(".quivelrc").c_str(), 0755);
    EXPECT_EQ(chooseConfigurationPath("", start.path(), home.path().c_str()), home.file(".quivelrc"))
        << "a folder of that name is passed over";
    rmdir(start.file(".quivelrc").c_str());
    writeFile(start.file(".quivelrc"), "");
    EXPECT_EQ(chooseConfigurationPath("", start.path(), home.path().c_str()), start.file(".quivelrc"));
}

TEST(ConfigurationSave, ReplacesTheFileWholeAndKeepsItsModeAndLink) {
    TempDir dir;
    const std::string target = dir.file("dotfiles.rc"), link = dir.file(".quivelrc");
    writeFile(target, "old\n");
    chmod(target.c_str(), 0640);
    ASSERT_EQ(symlink(target.c_str(), link.c_str()), 0);
    EXPECT_EQ(saveConfigurationFile(link, "new\n"), ZNT_OK);
    EXPECT_EQ(readFile(target), "new\n");
    struct stat info;
    ASSERT_EQ(lstat(link.c_str(), &info), 0);
    EXPECT_TRUE(S_ISLNK(info.st_mode));
    ASSERT_EQ(stat(target.c_str(), &info), 0);
    EXPECT_EQ(info.st_mode & 07777, 0640u);

    EXPECT_EQ(saveConfigurationFile(dir.file("missing/rc"), "x"), ZNT_CANT_CREATE);
    mkdir(dir.file("folder").c_str(), 0755);
    EXPECT_NE(saveConfigurationFile(dir.file("folder"), "x"), ZNT_OK);
    int entries = 0;
    for ([[maybe_unused]] auto &entry : std::filesystem::directory_iterator(dir.path())) ++entries;
    EXPECT_EQ(entries, 3) << "no temporary file is left behind";
}
