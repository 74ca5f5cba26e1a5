// A person who speaks French reads no English: the help, refusals and questions of every verb.
#include <sstream>

#include "session/session_bench.hpp"
#include "session/terminal.hpp"

namespace vellmark {
namespace {

using test::Names;
using test::SessionTest;
using test::Write;

struct Row {
    std::string_view english;
    std::string_view french;
};
constexpr Row kSentences[] = {
#define VELLMARK_SENTENCE(name, english, french) {english, french},
#include "support/sentences.inc"
#undef VELLMARK_SENTENCE
};

// The words of a row between its operands that French does not have too.
std::vector<std::string_view> EnglishPieces(const Row& row) {
    constexpr std::size_t kTellingBytes = 9;  // shorter ones stand in other words as well
    std::vector<std::string_view> pieces;
    std::string_view rest = row.english;
    while (!rest.empty()) {
        const std::size_t end = std::min(rest.find_first_of("{}"), rest.size());
        const std::string_view piece = rest.substr(0, end);
        if (piece.size() >= kTellingBytes && row.french.find(piece) == row.french.npos)
            pieces.push_back(piece);
        rest.remove_prefix(std::min(end + 1, rest.size()));
    }
    return pieces;
}

std::string EnglishIn(std::string_view text) {
    std::string found;
    for (const Row& row : kSentences)
        for (const std::string_view piece : EnglishPieces(row))
            if (text.find(piece) != text.npos)
                found.append(piece) += '\n';
    return found;
}

// The verbs, as the help of the program lists them.
Names VerbsOf(const std::string& help) {
    Names verbs;
    std::istringstream lines(help.substr(help.find("Subcommands:\n")));
    std::string line;
    std::getline(lines, line);
    while (std::getline(lines, line) && line.starts_with("  "))
        verbs.push_back(line.substr(2, line.find_first_of(", ", 2) - 2));
    return verbs;
}

// Lines of the help that are about an option.
int OptionsIn(const std::string& help) {
    int options = 0;
    for (std::size_t at = help.find("\n  -"); at != help.npos; at = help.find("\n  -", at + 1))
        ++options;
    return options;
}

TEST_F(SessionTest, TheHelpOfEveryVerbIsInTheLanguageOfThePerson) {
    ASSERT_EQ(run({"--help"}), 0);
    const Names verbs = VerbsOf(out_);
    ASSERT_EQ(verbs.size(), 27u);
    EXPECT_NE(EnglishIn(out_), "") << "what looks for English finds it";
    ASSERT_EQ(run({"--help", "--lang", "fr"}), 0);
    EXPECT_EQ(EnglishIn(out_), "");
    for (const std::string& verb : verbs) {
        ASSERT_EQ(run({verb, "--help"}), 0);
        EXPECT_NE(out_.find("\nUsage: vellmark " + verb + " [OPTIONS]"), std::string::npos) << out_;
        const std::string example = out_.substr(out_.find("Example:\n") + 9);
        const int options = OptionsIn(out_);
        ASSERT_EQ(run({verb, "--help", "--lang", "fr"}), 0);
        EXPECT_NE(out_.find("\nUtilisation : vellmark " + verb), std::string::npos) << out_;
        EXPECT_EQ(EnglishIn(out_), "") << verb;
        EXPECT_EQ(out_.substr(out_.find("Exemple :\n") + 10), example);
        EXPECT_EQ(OptionsIn(out_), options) << verb;
    }
}

TEST_F(SessionTest, ARefusalIsInTheLanguageOfThePerson) {
    Write("folder/a.txt", "a");
    Write("plain", "no table");
    const struct {
        Names arguments;
        const char* english;
        const char* french;
    } cases[] = {
        // What the parser says.
        {{"ls"}, "IMAGE is required", "IMAGE est obligatoire"},
        {{"rm", "x"}, "PATH is required", "CHEMIN est obligatoire"},
        {{"config", "NAME"},
         "ACTION: NAME not in {list,get,set}",
         "ACTION : NAME n'est pas l'une des valeurs {list,get,set}"},
        {{"ls", "x", "--as"},
         "--as: 1 required TEXT:{iso,joliet,hfs} missing",
         "--as : il manque 1 valeur obligatoire (TEXTE:{iso,joliet,hfs})"},
        {{"ls", "x", "-p", "one"},
         "Could not convert: --partition = one",
         "Valeur incorrecte : --partition = one"},
        {{"ls", "x", "-p", "1", "-p", "2"},
         "--partition: At Most 1 required but received 2",
         "--partition : au plus 1 valeur attendue, 2 reçues"},
        {{"split", "x", "PATH"},
         "The following argument was not expected: PATH",
         "L'argument suivant n'est pas attendu : PATH"},
        {{"split", "x", "y", "z"},
         "The following arguments were not expected: z y",
         "Les arguments suivants ne sont pas attendus : z y"},
        {{"--nonsense"},
         "--nonsense is no verb and no option.",
         "--nonsense n'est ni un verbe ni une option."},
        // What verbs and the session say.
        {{"a.iso"},
         "This build has no window to open a.iso in.",
         "Cette version n'a pas de fenêtre où ouvrir a.iso."},
        {{"sig"},
         "Give either names of files, or one of --type, --list and --register.",
         "Donnez soit des noms de fichiers, soit l'une des options --type, --list et --register."},
        {{"sig", "--file", "folder", "a"},
         "Error opening file folder. It is no file.",
         "Erreur à l'ouverture du fichier folder. Ce n'est pas un fichier."},
        {{"sig", "--register", "plain"},
         "plain has no entry of a signature table, as TXT,TEXTttxt: the table in use stays.",
         "plain n'a pas d'entrée d'une table de signatures, comme TXT,TEXTttxt : la table utilisée "
         "reste la même."},
        {{"sig", "--type", "zzzz"},
         "The table has no entry for zzzz.",
         "La table n'a pas d'entrée pour zzzz."},
        {{"config", "get"}, "get takes a name alone.", "get ne prend qu'un nom."},
        {{"config", "set", "backup", "oui"},
         "oui is no value of backup; it can be: on, off.",
         "oui n'est pas une valeur de backup ; les valeurs possibles sont : on, off."},
        {{"config", "set", "extension", ""},
         "An empty text is no extension: it has one to four characters, and no /.",
         "Un texte vide n'est pas une extension : elle a de un à quatre caractères, sans /."},
        {{"config", "set", "signatures", "none"},
         "none cannot be read as a signature table: No such file or directory.",
         "none ne peut pas être lu comme table de signatures : Aucun fichier ou dossier de ce "
         "type."},
        {{"--log", "plain", "config"},
         "Error opening file plain. It holds something else than a journal.",
         "Erreur à l'ouverture du fichier plain. Il contient autre chose qu'un journal."},
        {{"--log", "a.vlpr", "new", "a.vlpr"},
         "Error opening file a.vlpr. The command works on that file itself.",
         "Erreur à l'ouverture du fichier a.vlpr. La commande travaille sur ce fichier lui-même."},
    };
    for (const auto& c : cases)
        for (const bool isFrench : {false, true}) {
            settings_.values = {{"Lang", isFrench ? "1" : "0"}};
            EXPECT_NE(run(c.arguments), 0) << c.english;
            const std::string first = err_.substr(0, err_.find('\n'));
            EXPECT_EQ(first, std::string("vellmark: ") + (isFrench ? c.french : c.english));
        }
}

TEST_F(SessionTest, TheLanguageIsThatOfTheOptionTheSettingOrTheLocale) {
    const struct {
        Names option;
        const char* setting;
        const char* locale;
        bool isFrench;
    } cases[] = {{{}, "", "", false},
                 {{}, "", "fr", true},
                 {{}, "", "fr_CA.UTF-8", true},
                 {{}, "", "frr_DE", false},
                 {{}, "0", "fr_FR", false},
                 {{}, "1", "C", true},
                 {{"--lang", "en"}, "1", "fr", false},
                 {{"--lang=fr"}, "0", "de", true}};
    for (const auto& c : cases)
        for (const bool isBehind : {false, true}) {
            settings_.values = {{"Lang", c.setting}};
            locale_ = c.locale;
            Names arguments = {"config", "list"};
            arguments.insert(isBehind ? arguments.end() : arguments.begin(), c.option.begin(),
                             c.option.end());
            ASSERT_EQ(run(arguments), 0) << err_;
            EXPECT_EQ(out_.find("langue des messages") != std::string::npos, c.isFrench)
                << testing::PrintToString(arguments) << c.setting << c.locale;
        }
}

TEST_F(SessionTest, TheTerminalAsksAndCountsInTheLanguageOfThePerson) {
    std::istringstream input("\n");
    std::ostringstream output;
    std::ostringstream errors;
    CommandContext context{
        .input = input, .output = output, .errors = errors, .clock = clock_, .asks = true};
    const struct {
        Language language;
        const char* said;
    } cases[] = {{Language::English,
                  "The name ab is too long. Shorten it to a? [y/n, Y yes to all] \n"
                  "Name for ab? [Enter keeps it] \n"
                  "vellmark: skipped ab: gone\n"
                  "vellmark: 1 name was shortened, or had characters replaced or digits added:\n"
                  "vellmark:   ab: a\n"
                  "vellmark: 4 names were shortened, or had characters replaced or digits added, "
                  "among them (--verbose names all):\n"},
                 {Language::French,
                  "Le nom ab est trop long. Le tronquer en a ? [o/n, O oui pour tous] \n"
                  "Quel nom pour ab ? [Entrée pour le garder] \n"
                  "vellmark: ab ignoré : gone\n"
                  "vellmark: 1 nom a été tronqué, ou modifié par des caractères de remplacement ou "
                  "des chiffres :\n"
                  "vellmark:   ab: a\n"
                  "vellmark: 4 noms ont été tronqués, ou modifiés par des caractères de "
                  "remplacement ou des chiffres, dont (--verbose les donne tous) :\n"}};
    for (const auto& c : cases) {
        context.language = c.language;
        errors.str("");
        input.setstate(std::ios::eofbit);
        Terminal terminal(context, {.asks = true});
        EXPECT_FALSE(terminal.messages.askTruncation(TruncatedName::Hfs, "ab", "a").accepted);
        EXPECT_FALSE(terminal.messages.askFileName("ab"));
        terminal.messages.itemSkipped("ab", "gone");
        for (const int names : {1, 4}) {
            for (int i = 0; i < names; ++i)
                terminal.messages.nameChanged("ab", "a");
            terminal.messages.tellChangedNames(false);
        }
        EXPECT_TRUE(errors.str().starts_with(c.said)) << errors.str();
    }
}

}  // namespace
}  // namespace vellmark
