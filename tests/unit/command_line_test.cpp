// Command-line options, the shell commands built for the web browser.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include "app/command_line.h"
#include "app/shell_quote.h"
#include "test_files.h"

using namespace quivel;

TEST(CommandLine, HelpOnlyAsTheFirstArgument) {
    EXPECT_TRUE(isHelpRequest({"-help"}));
    EXPECT_TRUE(isHelpRequest({"-help", "a.jpg"}));
    EXPECT_FALSE(isHelpRequest({"-v", "-help"}));
    EXPECT_FALSE(isHelpRequest({}));
    // After -v, -help is not an option: it ends the options and is a file.
    const StartOptions o = parseOptions({"-v", "-help"});
    EXPECT_TRUE(o.verbose);
    EXPECT_EQ(o.files, std::vector<std::string>{"-help"});
}

TEST(CommandLine, OptionsUpToTheFirstFile) {
    const StartOptions o = parseOptions({"-own", "-popup", "-all", "-full", "-verbose", "-fi", "-browser",
                                         "-slide", "show.sld", "-ini", "rc", "a.jpg", "-own", "b.png"});
    EXPECT_TRUE(o.ownColormap);
    EXPECT_TRUE(o.popupMenu);
    EXPECT_TRUE(o.oneWindowPerPicture);
    EXPECT_TRUE(o.fullScreen);
    EXPECT_TRUE(o.verbose);
    EXPECT_TRUE(o.fitToImage);
    EXPECT_TRUE(o.browser);
    EXPECT_TRUE(o.slideShow);
    EXPECT_EQ(o.slideFile, "show.sld");
    EXPECT_EQ(o.files, (std::vector<std::string>{"a.jpg", "-own", "b.png"}));
    EXPECT_EQ(parseOptions({"-Own"}).files, std::vector<std::string>{"-Own"}) << "matched case-sensitively";
}

TEST(CommandLine, VisualIdIsHexadecimal) {
    EXPECT_EQ(parseOptions({"-visualid", "21"}).visualId, 0x21);
    EXPECT_EQ(parseOptions({"-visualid", "0x2a"}).visualId, 0x2a);
    EXPECT_EQ(parseOptions({"-visualid", "0"}).visualId, 0);
    EXPECT_EQ(parseOptions({"-visualid"}).visualId, -1) << "a trailing -visualid is ignored";
}

TEST(CommandLine, OptionsWithoutTheirArgument) {
    const StartOptions slide = parseOptions({"-v", "-slide"});
    EXPECT_FALSE(slide.slideShow);
    EXPECT_TRUE(slide.files.empty());
    EXPECT_EQ(iniFileOption({"a.jpg", "-ini", "my.rc"}), "my.rc") << "-ini is looked for anywhere";
    EXPECT_EQ(iniFileOption({"a.jpg", "-ini"}), "");
    EXPECT_TRUE(hasNoResourcesOption({"a.jpg", "-nores"}));
    EXPECT_FALSE(hasNoResourcesOption({"a.jpg"}));
}

TEST(ShellQuote, NothingEscapesItsQuotes) {
    EXPECT_EQ(shellQuote("plain"), "'plain'");
    EXPECT_EQ(shellQuote("it's; rm -rf ~"), "'it'\\''s; rm -rf ~'");
    EXPECT_EQ(shellQuote(""), "''");
}

TEST(ShellQuote, WebBrowserCommands) {
    EXPECT_EQ(webBrowserCommand(nullptr, "http://x.example/", false), "'netscape' 'http://x.example/' &");
    EXPECT_EQ(webBrowserCommand("", "http://x.example/", false), "'netscape' 'http://x.example/' &");
    EXPECT_EQ(webBrowserCommand("firefox --new-window", "http://x.example/", false),
              "'firefox' '--new-window' 'http://x.example/' &");
    EXPECT_EQ(webBrowserCommand("lynx", "a@b.example", true), "'lynx' -remote 'mailto(a@b.example)' &");
    EXPECT_EQ(webBrowserCommand("x\"; touch /tmp/pwned; \"", "u", false),
              "'x\";' 'touch' '/tmp/pwned;' '\"' 'u' &");

    // A program whose path holds blanks and quotes stays one word.
    testsupport::TempDir dir;
    const std::string program = dir.file("my browser's");
    testsupport::writeFile(program, "#!/bin/sh\n");
    chmod(program.c_str(), 0755);
    EXPECT_EQ(webBrowserCommand(program.c_str(), "u", false), shellQuote(program) + " 'u' &");
}
