#include "workbench/commands/command_table.hpp"

#include <algorithm>
#include <array>
#include <iterator>

#include "workbench/commands/handlers.hpp"
#include "workbench/signatures/signature_change.hpp"

namespace vellmark {

namespace {

using enum SessionCommand;

constexpr std::string_view kAll = "PVI";
constexpr std::string_view kProjects = "PI";

// clang-format off
constexpr CommandRow kRows[] = {
    // Project
    {"Nouveau1", 2001, 2201, "", "P", New, kNeedsQuiet, NewDocument},
    {"Ouvrir1", 2002, 2202, "Ctrl+O", "P", Open, kNeedsQuiet, OpenDocument},
    {"Enregistrer1", 2003, 2203, "Ctrl+S", "P", Save, kNeedsQuiet, SaveDocument},
    {"EnregistrerAs1", 2004, 2204, "Ctrl+Shift+S", "P", SaveAs, kNeedsQuiet, SaveDocumentAs},
    {"Fermer1", 2007, 2207, "", "P", Close, kNeedsQuiet, CloseDocument},
    {"Info1", 2009, 2209, "", "P", Properties, kNeedsQuiet, ShowDocumentProperties},
    {"Label", 2010, 2210, "", "P", Label, kNeedsQuiet, EditLabel},
    {"Compil1", 2005, 2205, "", "P", Compile, kNeedsQuiet, CompileOrAbort},
    {"P1", 2011, 0, "Ctrl+P", "P", {}, kNeedsRows, PrintList},
    {"Quitter1", 2006, 2206, "", "P", {}, 0, Quit},
    // Partition
    {"Nouvelle1", 2016, 2216, "", "V", New, kNeedsQuiet, NewDocument},
    {"Ouvrir2", 2017, 2217, "Ctrl+O", "V", Open, kNeedsQuiet, OpenDocument},
    {"Enr2", 2018, 2218, "Ctrl+S", "V", Save, kNeedsQuiet, SaveDocument},
    {"EnrAs2", 2019, 2219, "Ctrl+Shift+S", "V", SaveAs, kNeedsQuiet, SaveDocumentAs},
    {"Fermer2", 2024, 2224, "", "V", Close, kNeedsQuiet, CloseDocument},
    {"PropVol1", 2023, 2223, "", "V", Properties, kNeedsQuiet, ShowDocumentProperties},
    {"Hybrid1", 2020, 2220, "", "V", Join, kNeedsQuiet | kNeedsPlain, JoinVolume},
    {"P2", 2026, 0, "Ctrl+P", "V", {}, kNeedsRows, PrintList},
    {"Q21", 2006, 2206, "", "V", {}, 0, Quit},
    // ISO+
    {"No1", 2031, 2231, "", "I", New, kNeedsQuiet, NewDocument},
    {"Ou1", 2032, 2232, "Ctrl+O", "I", Open, kNeedsQuiet, OpenDocument},
    {"En1", 2033, 2233, "Ctrl+S", "I", Save, kNeedsQuiet, SaveDocument},
    {"Sa1", 2034, 2234, "Ctrl+Shift+S", "I", SaveAs, kNeedsQuiet, SaveDocumentAs},
    {"Fe1", 2035, 2235, "", "I", Close, kNeedsQuiet, CloseDocument},
    {"In1", 2037, 2237, "", "I", Properties, kNeedsQuiet, ShowDocumentProperties},
    {"La1", 2038, 2238, "", "I", Label, kNeedsQuiet, EditLabel},
    {"CompISOP", 2036, 2236, "", "I", Compile, kNeedsQuiet, CompileOrAbort},
    {"P3", 2041, 0, "Ctrl+P", "I", {}, kNeedsRows, PrintList},
    {"Qu1", 2040, 2240, "", "I", {}, 0, Quit},
    // File
    {"Supp1", 2046, 2246, "Del", kAll, Delete, kNeedsItem | kNeedsQuiet, DeleteSelected},
    {"Ren1", 2047, 2247, "F2", kAll, Rename, kNeedsItem | kNeedsQuiet, RenameSelected},
    {"Prop1", 2048, 2248, "Alt+Return", kAll, Properties, kNeedsItem | kNeedsQuiet, ShowItemProperties},
    {"DrExpl", 2055, 2255, "Ctrl+V", kAll, Drop, kNeedsPaste | kNeedsQuiet, Paste},
    {"MD", 2051, 2251, "Ctrl+N", kAll, MakeFolder, kNeedsQuiet, MakeNewFolder},
    {"Rech1", 2054, 2254, "Ctrl+F", kAll, Search, kNeedsQuiet, SearchItems},
    {"RSig", 2059, 2259, "", kProjects, ReplaceSignature, kNeedsQuiet, ReplaceSignatureOfFiles},
    {"MPC1", 2049, 2249, "", "V", CopyOut, kNeedsAnything | kNeedsQuiet, CopySelectedOut},
    {"PCM1", 2050, 2250, "", "V", CopyIn, kNeedsQuiet, CopyFilesIn},
    {"Aff1", 2052, 2252, "", "V", ShowContents, kNeedsQuiet, vellmark::ShowContents},
    {"SAll", 2057, 2257, "Ctrl+A", kAll, {}, 0, SelectAll},
    {"Inv", 2058, 2258, "", kAll, {}, 0, InvertSelection},
    // Special
    {"Refr", 2064, 2264, "", kProjects, Refresh, kNeedsQuiet, RefreshProject},
    {"Clean1", 2063, 2263, "", kProjects, Rebuild, kNeedsQuiet, RebuildProject},
    {"DelExt", 2066, 2266, "", "P", HideExtensions, kNeedsQuiet, HideExtensionsOfAll},
    {"Path1", 2068, 2268, "", kProjects, ChangePaths, kNeedsQuiet, ChangePathsOfProject},
    {"Explo1", 2084, 2284, "", kAll, {}, 0, LaunchFileManager},
    {"Sign1", 2086, 2286, "", kAll, {}, 0, EditSignatures},
    {"EdIcon", 2069, 2269, "", kAll, {}, 0, LaunchIconComposer},
    {"RFT", 2065, 2265, "", kAll, {}, kNeedsQuiet, ManageFileTypes},
    {"Desh1", 2071, 2271, "", "V", Split, kNeedsQuiet, SplitImage},
    {"EdSign", 1250, 2259, "", "V", MakeFolder, kNeedsQuiet, ChangeGenericSignatures},
    {"dsstor", 2072, 2272, "", "P", Layout, kNeedsQuiet, ShowLayoutEditor},
    // Options
    {"ModeProj", 1274, 2200, "", kAll, {}, kNeedsQuiet, ChooseProjectMode, IsProjectMode},
    {"ModePart", 1275, 2215, "", kAll, {}, kNeedsQuiet, ChoosePartitionMode, IsPartitionMode},
    {"ModeIsop", 1276, 2230, "", kAll, {}, kNeedsQuiet, ChooseIsoPlusMode, IsIsoPlusMode},
    {"ChangementMode", 2081, 2281, "Ctrl+M", kAll, {}, kNeedsQuiet, ChooseNextMode},
    {"VI1", 1270, 0, "Ctrl+1", "P", ChooseView, 0, ViewIso, IsIsoView},
    {"VH1", 1271, 0, "Ctrl+2", "P", ChooseView, 0, ViewHybrid, IsHybridView},
    {"VM1", 1272, 0, "Ctrl+3", "P", ChooseView, 0, ViewHfs, IsHfsView},
    {"CachBarre", 2092, 2292, "", kAll, {}, 0, ToggleToolBar, IsToolBarHidden},
    {"Da", 2110, 0, "", "V", ChooseCopyMode, kNeedsQuiet, CopyDataFork, IsDataForkMode},
    {"Re", 2111, 0, "", "V", ChooseCopyMode, kNeedsQuiet, CopyResourceFork, IsResourceForkMode},
    {"Bo", 2112, 0, "", "V", ChooseCopyMode, kNeedsQuiet, CopyMacBinary, IsMacBinaryMode},
    {"Ad", 2113, 0, "", "V", ChooseCopyMode, kNeedsQuiet, CopyAppleDouble, IsAppleDoubleMode},
    {"As", 2114, 0, "", "V", ChooseCopyMode, kNeedsQuiet, CopyAppleSingle, IsAppleSingleMode},
    {"SW1", 2088, 2288, "", "V", SwapForks, kNeedsListItem | kNeedsQuiet, SwapSelectedForks},
    {"En2", 1267, 0, "", kAll, {}, kNeedsQuiet, SpeakEnglish, IsEnglish},
    {"Fr1", 1268, 0, "", kAll, {}, kNeedsQuiet, SpeakFrench, IsFrench},
    {"Log1", 2089, 2289, "", kAll, {}, kNeedsQuiet, ManageJournal, IsJournalOpen},
    {"Registre1", 2085, 2285, "", kAll, {}, 0, ManageSignatureKey},
    {"Col", 2090, 2290, "", kAll, {}, kNeedsQuiet, EditColumns},
    {"Pref1", 2091, 2291, "", kAll, {}, kNeedsQuiet, EditPreferences},
    // Help
    {"HH1", 2102, 2302, "", kAll, {}, 0, ShowHelpOnHelp},
    {"AideUtil1", 2103, 2303, "F1", kAll, {}, 0, ShowHelp},
    {"HS", 2106, 2309, "", kAll, {}, 0, SearchInHelp},
    {"HI", 2105, 2305, "", kAll, {}, 0, ShowHelpIndex},
    {"WH1", 2104, 2304, "", kAll, {}, 0, ShowSupport},
    {"Aproposde1", 2101, 0, "", kAll, {}, 0, ShowAbout},
    {"F5", 2064, 0, "F5", kAll, {}, kNeedsRows, ShowAgain},
    // Tool bars
    {"ModeVue", 2082, 2317, "", "P", ChooseView, 0, ViewNext},
    {"CompProj", 2005, 2319, "", "P", Compile, kNeedsQuiet, CompileOrAbort},
    {"RechProj", 2054, 2312, "", "P", Search, kNeedsQuiet, SearchItems},
    {"PereProj", 2314, 2314, "", "P", Search, 0, ShowParent},
    {"MkDirProj", 2051, 2320, "", "P", MakeFolder, kNeedsQuiet, MakeNewFolder},
    {"DelProj", 2046, 2313, "", "P", Delete, kNeedsItem | kNeedsQuiet, DeleteSelected},
    {"HelpProj", 2103, 2315, "", "P", {}, 0, ShowHelp},
    {"WizProj", 2321, 2321, "", "P", {}, 0, ShowModeHelp},
    {"Mac2PC", 2049, 2310, "", "V", CopyOut, kNeedsAnything | kNeedsQuiet, CopySelectedOut},
    {"PC2Mac", 2050, 2311, "", "V", CopyIn, kNeedsQuiet, CopyFilesIn},
    {"RechPart", 2054, 2312, "", "V", Search, kNeedsQuiet, SearchItems},
    {"PerePart", 2314, 2314, "", "V", Search, kNeedsQuiet, ShowParent},
    {"MkDirPart", 2051, 2320, "", "V", MakeFolder, kNeedsQuiet, MakeNewFolder},
    {"DelPart", 2046, 2313, "", "V", Delete, kNeedsItem | kNeedsQuiet, DeleteSelected},
    {"HelpPart", 2103, 2315, "", "V", {}, 0, ShowHelp},
    {"WizPart", 2321, 2321, "", "V", {}, 0, ShowModeHelp},
    {"CompIso", 2036, 2319, "", "I", Compile, kNeedsQuiet, CompileOrAbort},
    {"RechIso", 2054, 2312, "", "I", Search, kNeedsQuiet, SearchItems},
    {"PereIso", 2314, 2314, "", "I", Search, 0, ShowParent},
    {"MkDirIso", 2051, 2320, "", "I", MakeFolder, kNeedsQuiet, MakeNewFolder},
    {"DelIso", 2046, 2313, "", "I", Delete, kNeedsItem | kNeedsQuiet, DeleteSelected},
    {"HelpIso", 2103, 2315, "", "I", {}, 0, ShowHelp},
    {"WizIso", 2321, 2321, "", "I", {}, 0, ShowModeHelp},
    // Context menus of the list
    {"PopSup", 2046, 2246, "", "P", Delete, kNeedsItem | kNeedsQuiet, DeleteSelected},
    {"PopRen", 2047, 2247, "", "P", Rename, kNeedsItem | kNeedsQuiet, RenameSelected},
    {"PopProp", 2048, 2248, "", "P", Properties, kNeedsItem | kNeedsQuiet, ShowItemProperties},
    {"DrProj", 2055, 2255, "", "P", Drop, kNeedsPaste | kNeedsQuiet, Paste},
    {"MdProj1", 2051, 2251, "", "P", MakeFolder, kNeedsQuiet, MakeNewFolder},
    {"CPC1", 2049, 2249, "", "V", CopyOut, kNeedsAnything | kNeedsQuiet, CopySelectedOut},
    {"SuppPart", 2046, 2246, "", "V", Delete, kNeedsItem | kNeedsQuiet, DeleteSelected},
    {"RenPart", 2047, 2247, "", "V", Rename, kNeedsItem | kNeedsQuiet, RenameSelected},
    {"AffPart", 2052, 2252, "", "V", ShowContents, kNeedsQuiet, vellmark::ShowContents},
    {"AttrPart", 2053, 2253, "", "V", Properties, kNeedsItem | kNeedsQuiet, ShowItemProperties},
    {"DrPart", 2055, 2255, "", "V", Drop, kNeedsPaste | kNeedsQuiet, Paste},
    {"MdPart1", 2051, 2251, "", "V", MakeFolder, kNeedsQuiet, MakeNewFolder},
    {"Isup1", 2046, 2246, "", "I", Delete, kNeedsItem | kNeedsQuiet, DeleteSelected},
    {"Iren1", 2047, 2247, "", "I", Rename, kNeedsItem | kNeedsQuiet, RenameSelected},
    {"Iprop1", 2048, 2248, "", "I", Properties, kNeedsItem | kNeedsQuiet, ShowItemProperties},
    {"DrIso", 2055, 2255, "", "I", Drop, kNeedsPaste | kNeedsQuiet, Paste},
    {"MdIsop1", 2051, 2251, "", "I", MakeFolder, kNeedsQuiet, MakeNewFolder},
    // Context menus of the tree
    {"TPopSup", 2046, 2246, "", "P", Delete, kNeedsItem | kNeedsQuiet, DeleteSelected},
    {"TPopRen", 2047, 2247, "", "P", Rename, kNeedsItem | kNeedsQuiet, RenameSelected},
    {"TPopProp", 2048, 2248, "", "P", Properties, kNeedsItem | kNeedsQuiet, ShowItemProperties},
    {"TDrProj", 2055, 2255, "", "P", Drop, kNeedsPaste | kNeedsQuiet, Paste},
    {"TCPC1", 2049, 2249, "", "V", CopyOut, kNeedsAnything | kNeedsQuiet, CopySelectedOut},
    {"TSuppPart", 2046, 2246, "", "V", Delete, kNeedsItem | kNeedsQuiet, DeleteSelected},
    {"TRenPart", 2047, 2247, "", "V", Rename, kNeedsItem | kNeedsQuiet, RenameSelected},
    {"TAttrPart", 2053, 2253, "", "V", Properties, kNeedsItem | kNeedsQuiet, ShowItemProperties},
    {"TDrPart", 2055, 2255, "", "V", Drop, kNeedsPaste | kNeedsQuiet, Paste},
    {"TIsup1", 2046, 2246, "", "I", Delete, kNeedsItem | kNeedsQuiet, DeleteSelected},
    {"TIren1", 2047, 2247, "", "I", Rename, kNeedsItem | kNeedsQuiet, RenameSelected},
    {"TIprop1", 2048, 2248, "", "I", Properties, kNeedsItem | kNeedsQuiet, ShowItemProperties},
    {"TDrIso", 2055, 2255, "", "I", Drop, kNeedsPaste | kNeedsQuiet, Paste},
};
// clang-format on

using Names = std::string_view;

constexpr Names kProjectItems[] = {"Nouveau1", "Ouvrir1", "Reop1", "Enregistrer1", "EnregistrerAs1",
                                   "Fermer1",  "-",       "Info1", "Label",        "Compil1",
                                   "-",        "P1",      "-",     "Quitter1"};
constexpr Names kPartitionItems[] = {"Nouvelle1", "Ouvrir2", "Reop2",    "Enr2",    "EnrAs2",
                                     "Fermer2",   "-",       "PropVol1", "Hybrid1", "-",
                                     "P2",        "-",       "Q21"};
constexpr Names kIsoPlusItems[] = {"No1", "Ou1", "Re1",      "En1", "Sa1", "Fe1", "-",
                                   "In1", "La1", "CompISOP", "-",   "P3",  "-",   "Qu1"};
constexpr Names kFileItems[] = {"Supp1", "Ren1", "Prop1", "-",    "MPC1", "PCM1", "-",  "DrExpl",
                                "MD",    "Aff1", "Rech1", "RSig", "-",    "SAll", "Inv"};
constexpr Names kSpecialItems[] = {"Refr",  "Clean1", "DelExt", "Path1", "-",
                                   "Desh1", "EdSign", "dsstor", "-",     "Explo1",
                                   "Sign1", "EdIcon", "RFT"};
constexpr Names kOptionItems[] = {"Proj1", "Maff1",   "CachBarre", "-",         "Mod", "SW1",
                                  "-",     "Langue1", "Log1",      "Registre1", "Col", "Pref1"};
constexpr Names kHelpItems[] = {"HH1", "AideUtil1", "HS", "HI", "WH1", "-", "Aproposde1"};

constexpr CommandMenu kMenuBar[] = {
    {"Projets1", 2000, 2200, "P", kProjectItems},
    {"Partitions1", 2015, 2215, "V", kPartitionItems},
    {"IsoPlus1", 2030, 2230, "I", kIsoPlusItems},
    {"Fichiers", 2045, 2245, kAll, kFileItems},
    {"Special1", 2060, 2260, kAll, kSpecialItems},
    {"Options1", 2080, 2280, kAll, kOptionItems},
    {"Aide1", 2100, 2300, kAll, kHelpItems},
};

constexpr Names kRecent[] = {"recent"};
constexpr Names kModeItems[] = {"ModeProj", "ModePart", "ModeIsop", "-", "ChangementMode"};
constexpr Names kViewItems[] = {"VI1", "VH1", "VM1"};
constexpr Names kCopyItems[] = {"Da", "Re", "Bo", "Ad", "As"};
constexpr Names kLanguageItems[] = {"En2", "Fr1"};

constexpr CommandMenu kSubMenus[] = {
    {"Reop1", 2008, 2208, "P", kRecent},
    {"Reop2", 2025, 2225, "V", kRecent},
    {"Re1", 2039, 2239, "I", kRecent},
    {"Proj1", 2081, 2281, kAll, kModeItems},
    {"Maff1", 2082, 2282, "P", kViewItems},
    {"Mod", 2087, 2287, "V", kCopyItems},
    {"Langue1", 2083, 2283, kAll, kLanguageItems},
};

constexpr Names kToolProj[] = {"ModeVue",   "CompProj", "RechProj", "PereProj",
                               "MkDirProj", "DelProj",  "HelpProj", "WizProj"};
constexpr Names kToolPart[] = {"Mac2PC",    "PC2Mac",  "RechPart", "PerePart",
                               "MkDirPart", "DelPart", "HelpPart", "WizPart"};
constexpr Names kToolIsop[] = {"CompIso", "RechIso", "PereIso", "MkDirIso",
                               "DelIso",  "HelpIso", "WizIso"};
constexpr CommandMenu kToolBars[] = {
    {"ToolProj", 0, 0, "P", kToolProj},
    {"ToolPart", 0, 0, "V", kToolPart},
    {"ToolIsop", 0, 0, "I", kToolIsop},
};

constexpr Names kPopProj[] = {"PopSup", "PopRen", "PopProp", "-", "DrProj", "MdProj1"};
constexpr Names kPopPart[] = {"CPC1",     "-", "SuppPart", "RenPart", "AffPart",
                              "AttrPart", "-", "DrPart",   "MdPart1"};
constexpr Names kPopIsop[] = {"Isup1", "Iren1", "Iprop1", "-", "DrIso", "MdIsop1"};
constexpr Names kTPopProj[] = {"TPopSup", "TPopRen", "TPopProp", "-", "TDrProj"};
constexpr Names kTPopPart[] = {"TCPC1", "-", "TSuppPart", "TRenPart", "TAttrPart", "-", "TDrPart"};
constexpr Names kTPopIsop[] = {"TIsup1", "TIren1", "TIprop1", "-", "TDrIso"};
constexpr CommandMenu kContextMenus[] = {
    {"PopProj", 0, 0, "P", kPopProj},   {"PopPart", 0, 0, "V", kPopPart},
    {"PopIsop", 0, 0, "I", kPopIsop},   {"TPopProj", 0, 0, "P", kTPopProj},
    {"TPopPart", 0, 0, "V", kTPopPart}, {"TPopIsop", 0, 0, "I", kTPopIsop},
};

}  // namespace

std::span<const CommandRow> CommandRows() {
    return kRows;
}

const CommandRow& RowNamed(std::string_view name) {
    return *std::find_if(std::begin(kRows), std::end(kRows),
                         [name](const CommandRow& row) { return row.name == name; });
}

std::span<const CommandMenu> MenuBar() {
    return kMenuBar;
}

std::span<const CommandMenu> SubMenus() {
    return kSubMenus;
}

std::span<const CommandMenu> ToolBars() {
    return kToolBars;
}

const CommandMenu& ContextMenu(FileMode mode, bool isList) {
    const auto at = static_cast<std::size_t>(mode == FileMode::Unknown ? FileMode::Project : mode);
    return kContextMenus[at + (isList ? 0 : std::size(kToolBars))];
}

}  // namespace vellmark
