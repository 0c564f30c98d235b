// The Yocto layer, as far as it can be checked without bitbake: its variables are there, its
// packages hold what the install rules give, and the names in it exist.
#include <filesystem>
#include <fnmatch.h>
#include <map>
#include <regex>
#include <sstream>

#include <gmock/gmock.h>

#include "DeployFixture.h"

using testing::HasSubstr;

namespace {

const std::string LAYER = ZR_SOURCE_DIR "/Deploy/yocto/meta-zrfpgamng/";
const std::string RECIPE = LAYER + "recipes-multimedia/zrfpgamng/zrfpgamng_" ZR_VERSION ".bb";

using Variables = std::map<std::string, std::string>;

// The assignments of a file, continued lines joined; += appends.
Variables Parse(const std::string &path) {
    const std::string text = std::regex_replace(ReadWholeFile(path), std::regex("\\\\\n"), " ");
    static const std::regex assignment("^([A-Za-z_${}:.-]+) *(\\?=|:=|\\+=|\\.=|=) *\"(.*)\"$");
    std::istringstream lines(text);
    Variables variables;
    for (std::string line; std::getline(lines, line);) {
        std::smatch match;
        if (line.empty() || line[0] == '#')
            continue;
        if (std::regex_match(line, match, assignment))
            variables[match[1]] = match[2] == "+=" ? variables[match[1]] + " " + match[3].str() : match[3].str();
        else
            EXPECT_TRUE(line.starts_with("inherit ")) << path << ": " << line;
    }
    return variables;
}

// What the build system's paths are below an installation prefix.
std::string Expanded(std::string text) {
    const std::map<std::string, std::string> paths = {
        {"${bindir}", "bin"}, {"${libdir}", ZR_LIBDIR}, {"${nonarch_libdir}", "lib"}, {"${datadir}", "share"}};
    for (const auto &[name, path] : paths)
        for (std::size_t at; (at = text.find(name)) != text.npos;)
            text.replace(at, name.size(), path);
    return text;
}

std::vector<std::string> Words(const std::string &text) {
    std::istringstream words(text);
    return {std::istream_iterator<std::string>(words), {}};
}

bool MatchesOne(const std::vector<std::string> &patterns, const std::string &file) {
    for (const std::string &pattern : patterns)
        if (fnmatch(pattern.c_str(), file.c_str(), 0) == 0)
            return true;
    return false;
}

class DeployYocto : public Deploy {};

TEST_F(DeployYocto, RecipeIsOfThisVersionAndHasItsVariables) {
    const Variables recipe = Parse(RECIPE);
    for (const char *name : {"SUMMARY", "LICENSE", "DEPENDS", "SRC_URI", "SRCREV", "S", "EXTRA_OECMAKE",
                             "SYSTEMD_SERVICE:${PN}", "USERADD_PACKAGES", "USERADD_PARAM:${PN}"})
        EXPECT_TRUE(recipe.contains(name)) << name;
    EXPECT_THAT(ReadWholeFile(RECIPE), HasSubstr("\ninherit cmake pkgconfig systemd useradd"));
}

TEST_F(DeployYocto, PackagesNameFilesThatAreInstalled) {
    const Variables recipe = Parse(RECIPE);
    const auto installed = Install();
    for (const char *package : {"FILES:${PN}", "FILES:${PN}-tools", "FILES:${PN}-card"})
        for (const std::string &file : Words(Expanded(recipe.at(package))))
            EXPECT_TRUE(installed.contains(file)) << package << ": " << file;
}

// The rest goes into the packages -dev and -doc, and programs and units into the main one.
TEST_F(DeployYocto, EveryInstalledFileIsInAPackage) {
    const Variables recipe = Parse(RECIPE);
    std::vector<std::string> patterns = {"include/*",     "share/pkgconfig/*",
                                         "share/doc/*",   "share/man/*",
                                         "bin/ZRFpgaMng", "lib/systemd/system/" + recipe.at("SYSTEMD_SERVICE:${PN}")};
    for (const char *package : {"FILES:${PN}", "FILES:${PN}-tools", "FILES:${PN}-card"})
        for (const std::string &file : Words(Expanded(recipe.at(package))))
            patterns.push_back(file);
    for (const std::string &file : Install())
        EXPECT_TRUE(MatchesOne(patterns, file)) << file;
}

TEST_F(DeployYocto, OptionsAreTheBuilds) {
    const std::string cache = ReadWholeFile(ZR_BINARY_DIR "/CMakeCache.txt");
    static const std::regex option("-D([A-Z_]+)=");
    const std::string options = Parse(RECIPE).at("EXTRA_OECMAKE");
    for (std::sregex_iterator match(options.begin(), options.end(), option), end; match != end; ++match)
        EXPECT_THAT(cache, HasSubstr("\n" + (*match)[1].str() + ":")) << "no such option";
}

TEST_F(DeployYocto, UserIsTheUnits) {
    EXPECT_THAT(Parse(RECIPE).at("USERADD_PARAM:${PN}"), testing::EndsWith(" zrfpgamng"));
    EXPECT_THAT(ReadWholeFile(Source("Deploy/systemd/zrfpgamng.service")), HasSubstr("\nUser=zrfpgamng\n"));
}

TEST_F(DeployYocto, LayerHasItsVariables) {
    const Variables layer = Parse(LAYER + "conf/layer.conf");
    for (const char *name : {"BBPATH", "BBFILES", "BBFILE_COLLECTIONS", "BBFILE_PATTERN_zrfpgamng",
                             "BBFILE_PRIORITY_zrfpgamng", "LAYERDEPENDS_zrfpgamng", "LAYERSERIES_COMPAT_zrfpgamng"})
        EXPECT_TRUE(layer.contains(name)) << name;
    EXPECT_THAT(Words(layer.at("LAYERDEPENDS_zrfpgamng")), testing::UnorderedElementsAre("core", "openembedded-layer"));
}

} // namespace
