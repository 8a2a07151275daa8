// How a view's commands reach their work: the undo sequence, the picture
// operations by number, the menus and toolbar against the key bindings, and
// the smaller rules (recent files, extracted pages, frame delays, sizes).
#include <gtest/gtest.h>

#include <cstring>
#include <map>
#include <set>
#include <sstream>

#include "app/settings.h"
#include "view/commands.h"
#include "view/menu_tables.h"
#include "view/picture_slots.h"
#include "view/view_support.h"

using namespace quivel;

namespace {

// A 3 x 2 grey picture whose pixel values are 10 * x + y.
Picture numbered(int width = 3, int height = 2) {
    Picture p{};
    EXPECT_TRUE(zntAllock(&p, ZNT_GREY, 8, width, height));
    p.numberOfColors = 256;
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x) p.data[size_t(y) * p.bytesPerLine + size_t(x)] = uint8_t(10 * x + y);
    return p;
}

int at(const Picture &p, int x, int y) { return p.data[size_t(y) * p.bytesPerLine + size_t(x)]; }

OpStatus flip(Picture *source, Picture *output) { return runPictureOperation(kOpFlipHorizontal, source, output, nullptr); }

}  // namespace

TEST(Undo, OneLevelThatIsItsOwnInverse) {
    PictureSlots slots;
    EXPECT_FALSE(undoSlots(slots)) << "nothing to undo";
    replaceCurrent(slots, numbered());
    EXPECT_FALSE(undoSlots(slots)) << "a fresh load has no undo";

    ASSERT_EQ(applyToSlots(slots, flip, true), ZNT_OK);
    EXPECT_EQ(at(slots.current, 0, 0), 20);
    EXPECT_EQ(at(slots.undo, 0, 0), 0);
    ASSERT_TRUE(undoSlots(slots));
    EXPECT_EQ(at(slots.current, 0, 0), 0);
    ASSERT_TRUE(undoSlots(slots)) << "undo again redoes";
    EXPECT_EQ(at(slots.current, 0, 0), 20);

    // A second operation replaces the undo picture: only one level.
    ASSERT_EQ(applyToSlots(slots, flip, true), ZNT_OK);
    EXPECT_EQ(at(slots.current, 0, 0), 0);
    EXPECT_EQ(at(slots.undo, 0, 0), 20);
    releaseSlots(slots);
    EXPECT_EQ(slots.current.data, nullptr);
}

TEST(Undo, FailuresChangeNothingAndUndoCanBeOff) {
    PictureSlots slots;
    EXPECT_EQ(applyToSlots(slots, flip, true), ZNT_BAD_ARGUMENT) << "no picture";
    replaceCurrent(slots, numbered());
    ASSERT_EQ(applyToSlots(slots, flip, true), ZNT_OK);
    const uint8_t *current = slots.current.data, *undo = slots.undo.data;
    auto failing = [](Picture *, Picture *) { return OpStatus(ZNT_NOT_APPLICABLE); };
    EXPECT_EQ(applyToSlots(slots, failing, true), ZNT_NOT_APPLICABLE);
    EXPECT_EQ(slots.current.data, current);
    EXPECT_EQ(slots.undo.data, undo);

    ASSERT_EQ(applyToSlots(slots, flip, false), ZNT_OK);
    EXPECT_EQ(slots.undo.data, nullptr) << "without undo the old picture goes";
    EXPECT_FALSE(undoSlots(slots));
    releaseSlots(slots);
}

TEST(PictureOperations, NumbersTurnAndFlipTheWayTheyAreNamed) {
    Picture source = numbered();
    Picture out{};
    ASSERT_EQ(runPictureOperation(kOpRotateRight, &source, &out, nullptr), ZNT_OK);
    ASSERT_EQ(out.width, 2u);
    ASSERT_EQ(out.height, 3);
    EXPECT_EQ(at(out, 1, 0), 0) << "clockwise: the top-left corner goes to the top right";
    zntFree(&out);
    ASSERT_EQ(runPictureOperation(kOpRotateLeft, &source, &out, nullptr), ZNT_OK);
    EXPECT_EQ(at(out, 0, 2), 0) << "counter-clockwise: the top-left corner goes to the bottom left";
    zntFree(&out);
    ASSERT_EQ(runPictureOperation(kOpRotate180, &source, &out, nullptr), ZNT_OK);
    EXPECT_EQ(at(out, 2, 1), 0);
    zntFree(&out);
    ASSERT_EQ(runPictureOperation(kOpFlipVertical, &source, &out, nullptr), ZNT_OK);
    EXPECT_EQ(at(out, 0, 0), 1) << "top to bottom";
    zntFree(&out);
    // Flips stay within a selection.
    const PictureRect left{0, 0, 2, 2};
    ASSERT_EQ(runPictureOperation(kOpFlipHorizontal, &source, &out, &left), ZNT_OK);
    EXPECT_EQ(at(out, 0, 0), 10);
    EXPECT_EQ(at(out, 1, 0), 0);
    EXPECT_EQ(at(out, 2, 0), 20) << "outside the selection";
    zntFree(&out);
    EXPECT_EQ(runPictureOperation(99, &source, &out, nullptr), ZNT_BAD_ARGUMENT);
    zntFree(&source);
}

namespace {

// The translation table's bindings, as "<modifiers>+<key>" in the words an
// accelerator text uses ("Ctrl+Shift+S", "Page Down", "+"), to the command.
std::map<std::string, std::string> keyBindings() {
    const std::map<std::string, std::string> keyNames = {
        {"osfBeginLine", "Home"}, {"osfEndLine", "End"},   {"osfPageDown", "Page Down"}, {"osfPageUp", "Page Up"},
        {"osfDelete", "Del"},     {"Delete", "Del"},        {"space", "Space"},           {"F2", "F2"},
        {"-", "-"},               {"+", "+"},               {"*", "*"}};
    std::map<std::string, std::string> bindings;
    std::istringstream table(kViewTranslations);
    std::string line;
    while (std::getline(table, line)) {
        const size_t key = line.find("<Key>"), colon = line.find(": ", key);
        const size_t open = line.find("ViewDoCommand(");
        if (key == std::string::npos || open == std::string::npos) continue;
        const std::string modifiers = line.substr(0, key);
        std::string name = line.substr(key + 5, colon - key - 5);
        name = keyNames.count(name) ? keyNames.at(name) : std::string(1, char(std::toupper(name[0])));
        std::string text;
        auto has = [&](const char *m) {
            const size_t at = modifiers.find(m);
            return at != std::string::npos && (at == 0 || modifiers[at - 1] != '~');
        };
        if (has("Ctrl")) text += "Ctrl+";
        if (has("Alt")) text += "Alt+";
        if (has("Shift")) text += "Shift+";
        const std::string command = line.substr(open + 14, line.find(')', open) - open - 14);
        bindings.emplace(text + name, command);
    }
    return bindings;
}

void collect(std::span<const ViewMenuItem> items, std::vector<const ViewMenuItem *> &out) {
    for (const ViewMenuItem &item : items) {
        out.push_back(&item);
        collect(item.submenu, out);
    }
}

std::vector<const ViewMenuItem *> allItems() {
    std::vector<const ViewMenuItem *> items;
    for (const ViewMenu &menu : viewMenus()) collect(menu.items, items);
    return items;
}

}  // namespace

TEST(ViewMenus, EveryAcceleratorTextIsTheKeyThatRunsTheSameCommand) {
    const auto bindings = keyBindings();
    int checked = 0;
    for (const ViewMenuItem *item : allItems()) {
        if (item->command != nullptr) {
            EXPECT_NE(viewCommandByName(item->command), ViewCommand::unknown) << item->name;
        }
        if (item->acceleratorText == nullptr) continue;
        ASSERT_NE(item->command, nullptr) << item->name << " shows a key but runs no command";
        const auto it = bindings.find(item->acceleratorText);
        ASSERT_NE(it, bindings.end()) << item->name << ": no binding for " << item->acceleratorText;
        EXPECT_EQ(it->second, item->command) << item->acceleratorText;
        ++checked;
    }
    EXPECT_GT(checked, 40);
}

TEST(ViewMenus, ItemsOfToolsNotBuiltAreLeftOutAndSeparatorsTidied) {
    std::set<std::string> shown;
    std::vector<std::string> topMenus;
    for (const ViewMenu &menu : viewMenus()) {
        const auto items = shownItems(menu.items, true);
        if (items.empty()) continue;
        topMenus.push_back(menu.name);
        EXPECT_NE(items.front()->kind, MenuItemKind::Separator) << menu.name;
        EXPECT_NE(items.back()->kind, MenuItemKind::Separator) << menu.name;
        for (size_t i = 0; i + 1 < items.size(); ++i)
            EXPECT_FALSE(items[i]->kind == MenuItemKind::Separator && items[i + 1]->kind == MenuItemKind::Separator);
        for (const ViewMenuItem *item : items) shown.insert(item->name);
    }
    EXPECT_EQ(topMenus, (std::vector<std::string>{"file", "edit", "view", "image", "tools", "window", "help"}))
        << "the filter menu has nothing yet";
    EXPECT_EQ(shown.count("slideShow"), 0u);
    EXPECT_EQ(shown.count("MenuConvert"), 0u) << "a submenu of absent items goes too";
    EXPECT_EQ(shown.count("delete"), 0u);
    EXPECT_EQ(shown.count("undo"), 1u);
    EXPECT_EQ(shown.count("recentFiles"), 1u);
    bool recent = false;
    for (const ViewMenuItem *item : shownItems(viewMenus()[0].items, false))
        recent |= item->kind == MenuItemKind::RecentFiles;
    EXPECT_FALSE(recent) << "recent files only when asked for";
}

TEST(ViewMenus, SensitivityNamesAreItems) {
    std::set<std::string> names;
    for (const ViewMenuItem *item : allItems()) names.insert(item->name);
    // The names the sensitivity rule turns on and off exist as items (those
    // of operations not built yet excepted).
    for (const auto &[name, on] : pictureMenuSensitivity(false, ZNT_RGB)) {
        const std::string n = name;
        if (n == "MenuMap" || n == "MenuAdjust" || n == "MenuSwap") continue;
        EXPECT_EQ(names.count(n), 1u) << n;
    }
}

TEST(ViewToolbar, ButtonsFollowTheMaskBits) {
    std::set<int> bits;
    for (const ToolbarButton &b : toolbarButtons()) {
        EXPECT_TRUE(bits.insert(b.bit).second) << "bit " << b.bit << " used twice";
        EXPECT_NE(viewCommandByName(b.command), ViewCommand::unknown) << b.name;
    }
    for (const ToolbarButton *b : shownToolbarButtons(kDefaultToolbarMask))
        EXPECT_TRUE(viewCommandAvailable(viewCommandByName(b->command))) << b->name;
    const auto two = shownToolbarButtons((1 << 0) | (1 << 11) | (1 << 26));
    ASSERT_EQ(two.size(), 2u) << "bit 26 names a tool not built";
    EXPECT_STREQ(two[0]->command, "open");
    EXPECT_STREQ(two[1]->command, "undo");
    EXPECT_TRUE(shownToolbarButtons(0).empty());
}

TEST(ViewSupport, RecentFilesMoveToTheFront) {
    char list[3][16] = {};
    rememberRecentFile(&list[0][0], 3, 16, "/a");
    rememberRecentFile(&list[0][0], 3, 16, "/b");
    rememberRecentFile(&list[0][0], 3, 16, "/c");
    rememberRecentFile(&list[0][0], 3, 16, "/a");
    EXPECT_STREQ(list[0], "/a");
    EXPECT_STREQ(list[1], "/c");
    EXPECT_STREQ(list[2], "/b");
    rememberRecentFile(&list[0][0], 3, 16, "/d");
    EXPECT_STREQ(list[2], "/c") << "the oldest falls off";
    rememberRecentFile(&list[0][0], 3, 16, "/a/path/far/too/long");
    EXPECT_STREQ(list[0], "/d") << "a path that does not fit is not kept";
}

TEST(ViewSupport, PagesFramesAndSizes) {
    EXPECT_EQ(extractFileName("/out", "/pics/scan.tif", 0), "/out/scan_extract_001.ppm");
    EXPECT_EQ(extractFileName("/out", "noext", 11), "/out/noext_extract_012.ppm");
    const uint32_t delays[] = {0, 5, 250};
    EXPECT_EQ(frameDelayMs(delays, 3, 0), 100u) << "no delay in the file";
    EXPECT_EQ(frameDelayMs(delays, 3, 1), 20u) << "never a busy loop";
    EXPECT_EQ(frameDelayMs(delays, 3, 2), 250u);
    EXPECT_EQ(frameDelayMs(nullptr, 3, 2), 100u);
    EXPECT_EQ(pageIndexFor("pageNext", 0, 3), 1);
    EXPECT_EQ(pageIndexFor("pageNext", 2, 3), -1);
    EXPECT_EQ(pageIndexFor("pageLast", 0, 3), 2);
    EXPECT_EQ(pageIndexFor("pageFirst", 0, 3), -1) << "already there";
    EXPECT_EQ(pageIndexFor("next", 0, 3), -1) << "file moves are not page moves";
    EXPECT_EQ(keptRatioSide(480, 640, 320), 240);
    EXPECT_EQ(keptRatioSide(3, 1000, 1), 1);
    EXPECT_EQ(parseSize(" 640 "), 640);
    for (const char *bad : {"", "0", "-5", "12x", "70000", "abc"}) EXPECT_EQ(parseSize(bad), 0) << bad;
}
