// The options dialog without a display: its pages, the binding of each
// control to a key of the settings table, and what storing a control does.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <memory>
#include <set>

#include "app/configuration_file.h"
#include "default_settings.h"
#include "app/options_pages.h"
#include "app/save_formats.h"

using namespace quivel;

namespace {

const OptionControl &control(const char *page, const char *widgetName) {
    for (const OptionControl &c : findOptionPage(page)->controls)
        if (controlWidgetName(c) == widgetName) return c;
    throw std::runtime_error(std::string("no control ") + widgetName);
}

long number(const Settings &settings, const char *key) { return settingNumber(settings, *findSettingKey(key)); }
void setNumber(Settings &settings, const char *key, long value) {
    setSettingNumber(settings, *findSettingKey(key), value);
}

// What the dialog does on OK for a control the user did not touch.
void storeAsLoaded(Settings &settings, const OptionControl &c) {
    switch (controlKind(c)) {
    case ControlKind::Heading: break;
    case ControlKind::Toggle: storeToggle(settings, c, toggleState(settings, c)); break;
    case ControlKind::TextField: storeFieldText(settings, c, fieldText(settings, c)); break;
    case ControlKind::OptionMenu:
        storeMenuValue(settings, c, menuItems(settings, c)[size_t(menuPosition(settings, c))].value);
        break;
    }
}

}  // namespace

TEST(OptionPages, PagesComeInListOrderWithFormatPagesUnderWriteAndRead) {
    std::vector<std::string> names, indented;
    for (const OptionPage &page : optionPages()) {
        names.push_back(page.name);
        if (page.level == 1) indented.push_back(page.name);
        EXPECT_EQ(pageListText(page).find(page.title), size_t(page.level) * 4) << page.name;
    }
    // A format's page follows the Write or Read page it belongs under.
    std::string group;
    for (const std::string &name : names) {
        if (name == "PWrite" || name == "PRead") group = name.substr(0, 2);
        if (std::find(indented.begin(), indented.end(), name) != indented.end()) {
            EXPECT_EQ(name.substr(0, 2), group) << name;
        }
    }
    EXPECT_FALSE(indented.empty());
    EXPECT_EQ(findOptionPage("PCache")->extra, PageExtra::Cache);
    EXPECT_EQ(findOptionPage("PFileTypes")->extra, PageExtra::FileTypes);
    EXPECT_EQ(findOptionPage("PNothing"), nullptr);
}

TEST(OptionPages, EveryControlEditsAKeyOfTheTableWithAFittingControl) {
    for (const OptionPage &page : optionPages()) {
        std::set<std::string> widgetNames;
        for (const OptionControl &c : page.controls) {
            const std::string where = std::string(page.name) + " " + (c.key ? c.key : c.label);
            EXPECT_TRUE(widgetNames.insert(controlWidgetName(c)).second) << where << ": widget name used twice";
            ASSERT_NE(c.label, nullptr) << where;
            if (c.key == nullptr) continue;
            const SettingKey *key = controlKey(c);
            ASSERT_NE(key, nullptr) << where << ": not a key of the table";
            const ControlKind kind = controlKind(c);
            if (key->storage == Storage::Bool) {
                EXPECT_EQ(kind, ControlKind::Toggle) << where;
            }
            EXPECT_EQ(kind == ControlKind::OptionMenu, !c.choices.empty() || (c.flags & kFormatChoice)) << where;
            if (c.flags & kChooseFile) {
                EXPECT_EQ(kind, ControlKind::TextField) << where;
            }
            if (c.mask == 0) continue;
            EXPECT_NE(kind, ControlKind::TextField) << where << ": a field edits the whole value";
            for (const OptionChoice &choice : c.choices)
                EXPECT_EQ(choice.value & ~c.mask, 0) << where << ": " << choice.label;
        }
    }
}

TEST(OptionPages, EveryPreferenceOfTheDialogsSectionsHasAControl) {
    // Keys of these sections that other windows keep: geometries, toolbar
    // masks, the browser's own menus, the file selector, the slide-show dialog.
    const std::set<std::string> keptElsewhere = {
        "Start.X", "Start.Y", "Start.Width", "Start.Height", "Start.SavePosition", "Start.ToolbarViewConfig",
        "Start.ToolbarBrowserConfig", "View.DisplayColorInformation", "Browser.X", "Browser.Y", "Browser.Width",
        "Browser.Height", "Browser.Viewas", "Browser.ArrangeBy", "Browser.ViewColumn", "Browser.Layout",
        "Browser.DirListWidth", "Browser.DirListHeight", "Browser.IconListWidth", "Browser.IconListHeight",
        "Browser.ShowDirList", "Browser.ShowStatusBar", "Browser.ShowToolBar", "Browser.ShowPreview",
        "Browser.FitPreviewWindow", "Browser.ShowContent", "Browser.ShowInAscii", "Load.Preview", "Slide.UseTimer", "Slide.Timer", "Slide.Loop",
        "Slide.Full", "Slide.Resize", "Slide.Random", "Slide.SortOrder", "Cache.MaxDir"};
    std::set<std::string> edited;
    for (const OptionPage &page : optionPages())
        for (const OptionControl &c : page.controls)
            if (c.key) edited.insert(c.key);
    for (const SettingKey &key : settingKeys()) {
        const std::string section = key.name.substr(0, key.name.find('.') + 1);
        static const std::set<std::string> dialogSections = {"Start.", "View.",  "Browser.", "Save.",
                                                             "Load.",  "Slide.", "Cache."};
        if (!dialogSections.count(section) || keptElsewhere.count(key.name)) continue;
        EXPECT_TRUE(edited.count(key.name)) << key.name << " has no control";
    }
    EXPECT_TRUE(edited.count("File.ConfirmFileDelete"));
}

TEST(OptionPages, ConfirmingUntouchedControlsChangesNothing) {
    for (bool unusual : {false, true}) {
        auto settings = defaultSettings();
        if (unusual) {
            // Values a hand-edited file may hold: outside the menus, odd bits, blanks.
            setNumber(*settings, "View.Fit", 5);
            setNumber(*settings, "View.FileListSort", 128 + 3);
            setNumber(*settings, "Browser.ItemsThumbnailMode", kItemsOtherFiles | 64);
            setNumber(*settings, "Load.PcdBase", 4);
            setNumber(*settings, "Save.Offset", -12);
            setSettingReal(*settings, *findSettingKey("View.Gamma"), 2.25);
            setSettingText(*settings, *findSettingKey("Browser.StartupDirectory"), "/pictures/a b");
        }
        const auto before = std::make_unique<Settings>(*settings);
        for (const OptionPage &page : optionPages())
            for (const OptionControl &c : page.controls) storeAsLoaded(*settings, c);
        EXPECT_EQ(std::memcmp(before.get(), settings.get(), sizeof(Settings)), 0) << "unusual values: " << unusual;
    }
}

TEST(OptionPages, GammaFieldRaisesValuesBelowTheMinimumAndNothingElse) {
    const OptionControl &gamma = control("PView", "Gamma");
    EXPECT_EQ(fieldText(*defaultSettings(), gamma), "1.00");
    const struct {
        const char *text;
        double stored;
    } cases[] = {{"2.2", 2.2}, {"0.01", 0.01}, {"0.009", 0.01}, {"0", 0.01},   {"-3", 0.01},
                 {"abc", 0.01}, {"nan", 0.01}, {"7.5", 7.5},    {"1,5", 1.0}, {" 1.8x", 1.8}};
    for (const auto &c : cases) {
        auto settings = defaultSettings();
        storeFieldText(*settings, gamma, c.text);
        EXPECT_DOUBLE_EQ(settingReal(*settings, *findSettingKey("View.Gamma")), c.stored) << c.text;
    }
    // Other numeric fields take what they are given.
    auto settings = defaultSettings();
    storeFieldText(*settings, control("PWgif", "GifTransparentIndex"), "-4");
    EXPECT_EQ(number(*settings, "Save.GifTransparentIndex"), -4);
}

TEST(OptionPages, TextFieldsReadNumbersAsTheFileDoesAndCutTexts) {
    auto settings = defaultSettings();
    const OptionControl &quality = control("PWjpg", "JpegQuality");
    for (auto [text, stored] : {std::pair{"85", 85L}, {"12abc", 12L}, {"abc", 0L}, {"300", 44L}}) {
        storeFieldText(*settings, quality, text);
        EXPECT_EQ(number(*settings, "Save.JpegQuality"), stored) << text;
    }
    const OptionControl &format = control("PWrite", "DefaultFormat");
    EXPECT_EQ(fieldMaxLength(format), 15);
    storeFieldText(*settings, format, "averyverylongformatname");
    EXPECT_EQ(fieldText(*settings, format), "averyverylongfo");
}

TEST(OptionPages, ControlsSharingAKeyEditOnlyTheirOwnBits) {
    auto settings = defaultSettings();
    const OptionControl &sort = control("PFileList", "FileListSort");
    const OptionControl &reverse = control("PFileList", "FileListReverse");
    setNumber(*settings, "View.FileListSort", kSortReverse + 3);
    EXPECT_EQ(menuItems(*settings, sort)[size_t(menuPosition(*settings, sort))].label, "by Date");
    EXPECT_TRUE(toggleState(*settings, reverse));
    storeMenuValue(*settings, sort, 4);
    EXPECT_EQ(number(*settings, "View.FileListSort"), kSortReverse + 4);
    storeToggle(*settings, reverse, false);
    EXPECT_EQ(number(*settings, "View.FileListSort"), 4);

    const OptionControl &pictures = control("PBrowser", "ItemsPictures");
    EXPECT_EQ(controlKind(pictures), ControlKind::Toggle);
    storeToggle(*settings, pictures, false);
    EXPECT_EQ(number(*settings, "Browser.ItemsThumbnailMode"), 65535 - kItemsPictures);
    EXPECT_TRUE(toggleState(*settings, control("PBrowser", "ItemsDirectories")));
    storeToggle(*settings, pictures, true);
    EXPECT_EQ(number(*settings, "Browser.ItemsThumbnailMode"), 65535);
}

TEST(OptionPages, MenuShowsAValueOutsideItsChoicesUntilAnotherIsChosen) {
    auto settings = defaultSettings();
    const OptionControl &fit = control("PView", "Fit");
    EXPECT_EQ(menuItems(*settings, fit).size(), 6u);
    EXPECT_EQ(menuPosition(*settings, fit), 1);
    setNumber(*settings, "View.Fit", 5);
    std::vector<MenuItem> items = menuItems(*settings, fit);
    ASSERT_EQ(items.size(), 7u);
    EXPECT_EQ(items.back().label, "5");
    EXPECT_EQ(menuPosition(*settings, fit), 6);
    storeMenuValue(*settings, fit, 7);
    EXPECT_EQ(number(*settings, "View.Fit"), 7);
    EXPECT_EQ(menuItems(*settings, fit).size(), 6u);
}

TEST(OptionPages, DefaultFormatIsChosenAmongTheSaveFormatsByName) {
    auto settings = defaultSettings();
    const OptionControl &format = control("PWrite", "DefaultFormat");
    const std::vector<MenuItem> items = menuItems(*settings, format);
    ASSERT_EQ(items.size(), saveFormats().size()) << "jpeg is offered, so no extra item";
    const int position = menuPosition(*settings, format);
    EXPECT_STREQ(zntFormatGetName(items[size_t(position)].value), "jpeg");
    storeMenuValue(*settings, format, zntFormatGetIndex("png"));
    EXPECT_STREQ(settings->save.defaultFormat, "png");

    // A name no format has stays, shown as it is, until another is chosen.
    setSettingText(*settings, *findSettingKey("Save.DefaultFormat"), "nosuch");
    const std::vector<MenuItem> odd = menuItems(*settings, format);
    ASSERT_EQ(odd.size(), items.size() + 1);
    EXPECT_EQ(odd.back().label, "nosuch");
    EXPECT_EQ(menuPosition(*settings, format), int(odd.size()) - 1);
    storeMenuValue(*settings, format, odd.back().value);
    EXPECT_STREQ(settings->save.defaultFormat, "nosuch");
}

TEST(OptionPages, ListRowsLineUpInColumns) {
    EXPECT_EQ(fileTypeRow("jpeg", "JPEG File Interchange"), "jpeg      JPEG File Interchange");
    EXPECT_EQ(fileTypeRow("ninechars", "x"), "ninechars x");
    const std::string title = cacheTitleRow();
    const std::string shortRow = cacheRow("/home/me/pictures", 12, 2048);
    const std::string longRow = cacheRow("/a/very/long/path/that/does/not/fit/in/the/folder/column/holidays", 3, 5);
    EXPECT_EQ(shortRow.size(), title.size());
    EXPECT_EQ(longRow.size(), title.size());
    EXPECT_EQ(longRow.find("..."), 0u);
    EXPECT_NE(longRow.find("/holidays "), std::string::npos);
    EXPECT_EQ(title.find("Images") + 6, shortRow.find("12") + 2) << "numbers are right-aligned under their title";
    EXPECT_EQ(byteSizeText(1023), "1023 B");
    EXPECT_EQ(byteSizeText(1536), "1.5 KB");
    EXPECT_EQ(byteSizeText(uint64_t(5) << 30), "5.0 GB");
    EXPECT_EQ(byteSizeText(uint64_t(3) << 50), "3072.0 TB");
}
