#pragma once

#include "core/base/BArray.h"
#include "core/base/BMap.h"
#include "core/base/BProblem.h"
#include "core/base/BSmartObj.h"
#include "core/base/SP.h"
#include "core/base/WString.h"
#include "core/platform/Export.h"
#include "core/platform/WChar.h"

#include <cstddef>

class BFile;
class LanguageTable;

enum ELanguage : int {
    LanguageDefault = 0, // the texts that the program was written with
    LanguageCurrent = 1, // their translations
};

/// Translates the texts that a user sees: programs write keys that begin with "$", language files
/// tell their texts.
///
/// A key is "$" and then letters, digits and "_" of any script. One without "_" is plain. Keys are
/// equal and ordered by the user's collation, and each stands in the map at most once.
///
/// A language file is UTF-16LE text with a byte-order mark and CR LF. Each line is an entry of
/// three cells with tabs between them:
///
///     key  default text  translation
///
/// Lines that do not begin with "$" are comments, missing cells are empty, further ones are
/// ignored. A cell that begins with a double quote goes to the next one, tabs and line ends
/// included, and two quotes in a row stand for one; what follows the closing quote belongs to the
/// cell, too. The escapes of `WString::ResolveEsc` count in every cell.
///
/// No file is too broken to read, and what was read before a fault stays:
///
///     no byte-order mark            read as UTF-16LE all the same
///     UTF-8 with its mark           read as UTF-8
///     any other encoding            gives comments only: nothing is added, the result is 0
///     an odd last byte              dropped
///     Ctrl-Z                        ends the file
///     a 0 unit                      skipped
///     U+FFFF                        ends the line
///     half a surrogate pair         a unit like any other
///     a quote that is never closed  takes the rest of the file into its cell
///     a long line                   is read in time and memory proportional to it
///
/// Bad files and entries are told by the codes of core/base/ErrorCodes.h, and nothing throws but
/// `std::bad_alloc`. A map is filled before it is shared; then any threads may read it at once.
///
///     SP<BLanguageMap> map = new BLanguageMap;
///     map->ImportMapFiles(folder, QD_W("*.lng"), &log, false);
///     BLanguageMap::RegisterInstance(map);
class QD_CORE_API BLanguageMap : public BSmartObj {
public:
    BLanguageMap();
    ~BLanguageMap() override;

    /// Replaces the process's map and releases the one before; an empty pointer unregisters.
    /// Must not run beside `Instance` on another thread.
    static void RegisterInstance(SP<BLanguageMap> map);
    /// The registered map; empty when there is none.
    [[nodiscard]] static SP<BLanguageMap> Instance();

    // Settings

    /// In test mode `Translate` puts "*" around what it translates.
    void ActivateTestMode(bool isActive) noexcept { m_isTestMode = isActive; }
    /// Whether `Add` tells of missing texts.
    void SetReportMissingTranslations(bool report) noexcept { m_reportsMissing = report; }
    [[nodiscard]] bool GetReportMissingTranslations() const noexcept { return m_reportsMissing; }
    /// A name for the application's use; the map goes by its entries alone.
    [[nodiscard]] WString CurrentLanguage() const { return m_currentLanguage; }
    void SetCurrentLanguage(WString language);

    // Entries

    /// Adds an entry. `kErrorLanguageKeyInvalid`: the key is not valid, or
    /// `kErrorLanguageKeyTwice`: it is there already and `overwrite` is false; nothing is changed
    /// then.
    ///
    /// `kErrorLanguageTextTwice`: the key is plain and so is another one with the same default
    /// text, case ignored, or `kErrorLanguageTextMissing`: a text is missing and reported. The
    /// entry is added all the same.
    ///
    /// `fillMissing` puts the default text in place of an empty `text`.
    /// Intended: without `fillMissing` an empty `text` is not reported, for it is wanted.
    /// Intended: the text that stands twice hides the missing one, for two keys with one text
    /// mislead `TranslateBack`.
    int Add(WString key, WString defaultText, WString text, bool overwrite, bool fillMissing);
    void Clear();

    [[nodiscard]] bool Includes(WString key) const;
    /// Looks up the translation, or the default text. False leaves `text` as it is.
    bool Find(const WString& key, WString& text, bool translated) const;
    /// The default text of each key, in the order of the keys; good until the map changes.
    [[nodiscard]] const BMap<WString, WString>& StdDefaultMap() const noexcept;

    /// The translation of `key`, or `key` itself when it does not begin with "$" or has none.
    [[nodiscard]] WString Translate(WString key) const;
    /// `text` with each "$" and the letters, digits and "_" behind it translated.
    [[nodiscard]] WString TranslateExt(WString text) const;
    /// How many keys have `text` in `language`, case ignored, and the prefix `prefix`. `keys`
    /// takes them in their order with commas between them, and stays when there is none.
    int TranslateBack(WString text, WString& keys, WString prefix, ELanguage language) const;

    [[nodiscard]] static bool IsIdValid(WString key);
    [[nodiscard]] static bool IsAlNumUnderscore(WChar unit) noexcept;
    /// Whether `key` begins with `prefix` and "_", the case of ASCII letters ignored.
    /// Intended: every key has the empty prefix, and the plain keys are those with the prefix "$".
    [[nodiscard]] static bool HasPrefix(WString key, WString prefix);

    // Language files. A path is a directory and a name with the directory's own kind of separator
    // between them, "\" when it has none.

    /// Adds the entries of a file. `kErrorLanguageFile`: it cannot be opened, or read to its end,
    /// which leaves the entries before that; `kErrorLanguageLines`: `Add` gave a code for a line.
    /// `log`, which may be null, is told the file, each such line and the number of entries.
    /// Intended: entries that were refused count as loaded, so that the number is the file's.
    int ImportMapFile(WString path, WString* log, bool overwrite, bool fillMissing);
    /// Imports the files that match `pattern`, in the order of their names, and fills missing
    /// texts. The last result that is not `kErrorNone`; `kErrorLanguageFile` when no file matches,
    /// or the system fails to list them all, and then none is imported.
    int ImportMapFiles(WString directory, WString pattern, WString* log, bool overwrite);
    /// What was wrong first in the last import: the file, or line `position` of it with its key.
    /// None after one that gave `kErrorNone`. Not for `Add`, which tells by its code.
    [[nodiscard]] BProblem Problem() const;
    /// Writes a language file, which reads back as this map and outlasts a power failure.
    /// `kErrorLanguageFile` when that fails: the old file is then still there, as it is until the
    /// new one is complete, or may come back when the power fails. U+FFFF is left out.
    int ExportMapFile(WString path) const;
    /// The same, and tells why.
    int ExportMapFile(WString path, BProblem& problem) const;

    /// Brings a translated file up to date with a changed master file: writes the master's lines
    /// with the translations that the translated file has. The directories may be the same.
    /// A translated file that is not there has no translations. `newEntries` grows by the count of
    /// entries without one. `kErrorLanguageFile`: there is no master file, or one of the two cannot
    /// be read, `kErrorLanguageOutput`: the output cannot be written; the output then stays as it
    /// was, or may be that again when the power fails, and `newEntries` stays. The output outlasts
    /// a power failure.
    /// Intended: an entry without a translation gets "new entry!" as its fourth cell, so that the
    /// third one stays empty and whoever imports the file sees it as missing. Intended: a line
    /// without a first cell becomes one of empty cells, and a comment loses its empty ones, for
    /// they say nothing.
    static int MergeMapFile(const WString& masterDirectory, const WString& translationDirectory,
                            const WString& outputDirectory, const WString& fileName,
                            int& newEntries);
    /// The same, and tells why.
    static int MergeMapFile(const WString& masterDirectory, const WString& translationDirectory,
                            const WString& outputDirectory, const WString& fileName,
                            int& newEntries, BProblem& problem);
    /// The same for the files of the master directory that match `pattern`. The last result that is
    /// not `kErrorNone`; `kErrorLanguageFile` when none matches, or the system fails to list them
    /// all, and then none is merged.
    static int MergeMapFiles(const WString& masterDirectory, const WString& translationDirectory,
                             const WString& outputDirectory, const WString& pattern,
                             int& newEntries);

    // The reader of language files, for streams opened with "r,ccs=UTF-16LE". It reads no unit
    // ahead.

    /// Reads a line into exactly `count` cells. False when no unit is left, or `file` is closed.
    [[nodiscard]] static bool ReadLn(BFile& file, BArray<WString>& cells, std::size_t count);
    /// Reads a cell and gives the unit that ended it: a tab, a line feed, or 65535 for the end of
    /// the file.
    static WChar ReadCell(BFile& file, WString& cell);
    /// Skips what is left of a line.
    static void SkipLn(BFile& file);
    /// Writes line feed, carriage return, tab and Ctrl-Z as escapes, and doubles a backslash that
    /// would begin one: `WString::ResolveEsc` gives the text back.
    static void ReplaceControlChars(WString& text);

private:
    BLanguageMap(const BLanguageMap&) = delete;
    BLanguageMap& operator=(const BLanguageMap&) = delete;

    bool m_reportsMissing = false;
    bool m_isTestMode = false;
    LanguageTable* m_table; // owned
    WString m_currentLanguage;
    BProblem m_problem; // of the last import
};
