// A person who speaks French reads no English: the help, refusals and questions of every verb.
#include <sstream>

#include "session/session_bench.hpp"

namespace vellmark {
namespace {

using test::Names;
using test::SessionTest;
using test::Split;
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

// A line a case: the arguments, what is said in English, and in French.
constexpr std::string_view kRefusals = R"(
ls|IMAGE is required|IMAGE est obligatoire
rm x|PATH is required|CHEMIN est obligatoire
config NAME|ACTION: NAME not in {list,get,set}|ACTION : NAME n'est pas l'une des valeurs {list,get,set}
ls x -p|--partition: 1 required UINT missing|--partition : il manque 1 valeur obligatoire (NOMBRE)
ls x -p one|Could not convert: --partition = one|Valeur incorrecte : --partition = one
ls x -p 1 -p 2|--partition: At Most 1 required but received 2|--partition : au plus 1 valeur attendue, 2 reçues
split x PATH|The following argument was not expected: PATH|L'argument suivant n'est pas attendu : PATH
split x y z|The following arguments were not expected: z y|Les arguments suivants ne sont pas attendus : z y
--nonsense|--nonsense is no verb and no option.|--nonsense n'est ni un verbe ni une option.
a.iso|This build has no window to open a.iso in.|Cette version n'a pas de fenêtre où ouvrir a.iso.
sig|Give either names of files, or one of --type, --list and --register.|Donnez soit des noms de fichiers, soit l'une des options --type, --list et --register.
sig --creator abcd --type abcde|abcde has more than four characters, as a type or creator has them.|abcde a plus de quatre caractères, plus qu'un type ou un créateur.
sig --file folder a|Error opening file folder. It is no file.|Erreur à l'ouverture du fichier folder. Ce n'est pas un fichier.
sig --register plain|plain has no entry of a signature table, as TXT,TEXTttxt: the table in use stays.|plain n'a pas d'entrée d'une table de signatures, comme TXT,TEXTttxt : la table utilisée reste la même.
sig --type zz --creator y|The table has no entry for zz/y.|La table n'a pas d'entrée pour zz/y.
config get|get takes a name alone.|get ne prend qu'un nom.
config list a|list takes no name.|list ne prend pas de nom.
config set a|set takes a name and a value.|set demande un nom et une valeur.
config set backup oui|oui is no value of backup; it can be: on, off.|oui n'est pas une valeur de backup ; les valeurs possibles sont : on, off.
config set extension a/b|a/b is no extension: it has one to four characters, and no /.|a/b n'est pas une extension : elle a de un à quatre caractères, sans /.
config set signatures none|none cannot be read as a signature table: No such file or directory.|none ne peut pas être lu comme table de signatures : Aucun fichier ou dossier de ce type.
config set journal folder|folder is no file.|folder n'est pas un fichier.
--log plain config|Error opening file plain. It holds something else than a journal.|Erreur à l'ouverture du fichier plain. Il contient autre chose qu'un journal.
--log /dev/null config|Error opening file /dev/null. It is a pipe, a socket or a device.|Erreur à l'ouverture du fichier /dev/null. C'est un tube, une prise réseau ou un périphérique.
--log a.vlpr new a.vlpr|Error opening file a.vlpr. The command works on that file itself.|Erreur à l'ouverture du fichier a.vlpr. La commande travaille sur ce fichier lui-même.
)";

TEST_F(SessionTest, ARefusalIsInTheLanguageOfThePerson) {
    Write("folder/a.txt", "a");
    Write("plain", "no table");
    for (const std::string& line : Split(std::string(kRefusals), '\n')) {
        const Names columns = Split(line, '|');
        for (const std::size_t language : {1, 2}) {
            settings_.values = {{"Lang", std::to_string(language - 1)}};
            EXPECT_NE(run(Split(columns[0], ' ')), 0) << line;
            EXPECT_EQ(err_.substr(0, err_.find('\n')), "vellmark: " + columns.at(language));
        }
    }
}

}  // namespace
}  // namespace vellmark
