#pragma once

#include <unicode/uchar.h>

#include <cstdint>

/// The signs in the order in which the reference sorts them (English, United States), read off its
/// sort keys, and what distinguishes those that share a place. What follows from Unicode's own data
/// (capitals, accented letters, full and half width, ligatures) is not repeated here.
namespace platform::collation {

/// The weight of a sign without a mark and of a small letter of ordinary form.
inline constexpr std::uint8_t kPlain = 2;

/// What a form adds to `kPlain`. The other forms of the tables below are numbers of the reference.
inline constexpr std::uint8_t kCapital = 0x10;
inline constexpr std::uint8_t kRaisedOrFinal = 0x08;
inline constexpr std::uint8_t kFullKana = 0x20;
inline constexpr std::uint8_t kHiragana = 0x40;
inline constexpr std::uint8_t kLargeKana = 0x80;
inline constexpr std::uint8_t kOrdinaryKana = kLargeKana | kHiragana | kFullKana;

/// Forms that make no difference without regard to case.
inline constexpr std::uint8_t kCaseForms = kCapital | kRaisedOrFinal;

/// Units in the order of their places. One that is missing here, and that no other table and none
/// of Unicode's data leads back to one of these, stands behind the nearest lower unit that is here,
/// among others by its number: so the first of a run is enough, and so is the first of a script.
// clang-format off
inline constexpr char16_t kOrder[] =
    // Blanks, punctuation
    u" \u1680\u00a0\t\n\v\f\r⅋⎝⎛❨❪\u2002⎠⎞❩❫\u2003\u2004\u2005\u2006\u2007\u2008\u2009\u200a"
    u"\u200b\u2028﹇⎣⎡⟦⸢⸤\u2029␢﹈⎦⎤⟧⸣⸥␣⁕⸪⁘⸬⁙⸭﹗!\"⁎#⁔$⁐%⁌&﹙⎧❴❲(︵⎫❵❳﹚)︶﹡*﹐,﹑､、﹒.｡。/"
    u"﹕:﹔;﹖?﹫@[﹨\\]^_\u05c6﹎﹏`﹛{︷|﹜}︸~¡¦¨¯´¸¿ǃˇ˙˚˛˜˝͵ͺ΄՛։\u05c3\u05f3،\u061b\u061f٪"
    u"\u06d4‖‗′″‶‴‷‵﹅‸‽‾︴〈︿〉﹀¢₱「﹁₠」₣﹂₤₨₯₮₢€\u0e3f₡︺〖\u060b₲₪᾽᾿῀\u20b9\u20ba῾⸀ː⸔⸜⏜⸙"
    u"⸰⸚㋏㉐"
    // Operators
    u"+⊖⊟⊝⊗⊠⁄∕⊘∗⊛∘⊚∙⊙⊡∓<≺⊰=>≻⊱±«≪»≫×÷ǀ∀∅⋹⋸⋶⋵⋳⋲∊⋷⋴∋∍∔∖√∟∥∧∮∱≂≅≈≊≡≣≬⋽≲≶≼⊂⋐⊃⋑⊆⊊⊢⊲⋺⋋⋉⋍⋒⋤⋮϶\u2a00"
    // Technical signs, shapes, arrows, lines
    u"⌂⌫⎕⌀⌶⟸⟰\u2900⟲⟻⟿⟾⍼⎋￭■◧▬◬▶▼►◄￮○◙◖◦◚￪↑↟↥↾⇈⇑⇞⇡⇧⇪☝⇮↗⇗➚➶➹→￫↝↠↣↦↪↬↱↳⇀⇉⇒⇛⇝⇢⇥⇨➔➙➛⇰➫➱➵➸⇴➺☞⇶☛⇸⇻⇾⇹↘"
    u"⇘➘➴➷⇲￬↓↡↧↯↴⇂⇊⇓⇟⇣⇩☟⇵⇼↙⇙←￩↜↞↢↤↩↫↰↲↵↼⇇⇐⇚⇜⇠⇤⇦⇷☚⇺⇽⇿↖↸⇖⇱↔↭↹⇄⇆⇋⇔↕↨⇕⇅⇳↷↻↶↺─┄┈╌═╼╾╴╸╶╺￨│┆┊╎║╽╿╵╹╷"
    u"╻┌╒╭┐╕╮└╘╰┘╛╯├╞┤╡┬╤┴╧┼╪╱▁▏▔▂▎▃▍▀▄▌▐▅▋▆▊▇▉█░"
    // Signs, dingbats
    u"§©¬®°µ･・‥…∬∭∯∰〒〠〶〿〄㉿☀☆★☇☠✁✆✌✩✰✫✪✱❍⑀℗\u2705\u270a\u2728\u274c"
    // Further symbols
    u"℻☔☙♰⎏⎾⎺⏎▖◰◿◻⟕⟛⟝⚆⚠†︰‰⟡※⁀⎁⎗⎲⎸␥❮⅊⍻⍽⎉⎌⎔⎖⎮⎷⏍⏐⟐⟚⟜⟟\u2980\u06fd\u06dd؎\u06fe\u0600۩\u066d۞؏"
    u"\u060d\u0601\u0603\u0f00؆"
    // Symbols of later date, C1 controls
    u"⁜\u1800⅌⏒☘♾⚒⚢⛀⟀\u2b0e\ua828\u2ce5\u2ff0〷␀␤︐︑︒︓︔︕︖︗︘︙\u0080⅏⚝⟌\u27ce"
    // Numbers
    u"0⅒⅑⅛⅐⅙⅕¼⅓⅜⅖½⅗⅝⅔¾⅘⅚⅞123456789⑩⑪⑫⑬⑭⑮⑯⑰⑱⑲⑳㉑㉒㉓㉔㉕㉖㉗㉘㉙㉚㉛㉜㉝㉞㉟㊱㊲㊳㊴㊵㊶㊷㊸㊹"
    u"㊺㊻㊼㊽㊾㊿㉍㉎㉏҂\u0488\u0489⅟ⅰⅱⅲⅳⅴⅵⅶⅷⅸⅹⅺⅻⅼↄⅾⅿↁↂↇↈ∞"
    // Latin
    u"aᴥ℀㏂bc㏆㎈℄㏇℅℆dɖʣʥȡꝱẟeɛfgᵹ㎓㎬hƕⱶꜧiℹjk㎉㎑㎪l℔ȴꝲ㏒m㎧㎨㎒㏕㏖㎫n№ȵꝴŋoȣp㏘㏙qr℞℟㎭㎮㎯s"
    u"℈℠ſꞅt℡㎔™ʦŧuᴝᵫv℣wxyzʒƾʘʬʭꟿꝩꝫꝭꝯꝸꜥ\ua78e\ua791\ua7fa"
    // Greek
    u"αβγδεζͱηθικλμνξοπϻρσͻτυφχψωϛϝͷϟϗϡϸϣϥϧϩϫϭϯ"
    // Cyrillic
    u"аб\u2de0вгґҕӷдԁђԃеҽҿәєжҗзԅѕиҋіјкқлԡљԉԕмнңҥһӈԣњԋоөӏпрсԍтԏҭћуүұфхҳцчӌџшщъыьҍэюяԙѡѣѥѧѩѫѭѯѱѳ"
    u"ѵѹѻѽѿҁҏԗӆӊӎӕӡԇ\ua641ԟԛⸯ"
    // Armenian, Georgian and others
    u"աբգդեզէըթժիլխծկհձղճմյնշոչպջռսվտրցւփքօֆ\u10d0\u2d00\u2c30\u2c81"
    // Kana
    u"あいうえおかきく\u31f0けこさしすせそたちつてとなにぬねのはひふへほまみむめもやゆよらりる"
    u"れろわゐゑをん"
    // Hebrew
    u"\u05d0\ufb1f\u05da\u05dc\u05df\u05e1\u05e5\u05e7"
    // Arabic
    u"\u0621\u0671\u0674\u0627\u067b\u066e\u0680\u067e\u0629\u067a\u067f\u067c\u0679\u062b"
    u"\u0683\u0686\u062d\u0688\u068d\u0630\u068c\u0631\u0691\u0632\u0699\u0698\u0633\u06a1"
    u"\u06a4\u066f\u0643\u06ad\u06a9\u06af\u06b1\u06b3\u06b2\u0644\u06ba\u06b9\u0647\u06c6"
    u"\u06c5\u06c7\u06cb\u06d0\u06cd\u0649\u06d5\u0620"
    // Further scripts and symbols, ideographs last
    u"\u0710\u0901\u0981\u0a03\u0a81\u0b01\u0b82\u0c01\u0c82\u0d02\u0d82\u0e40\u0e01\u0e33"
    u"\u0e38\u0e39\u0e45\u0e4e\u0e4f\u0e5a\u0e5b\u1000\uaa60\u1820\u0f40\u0e81\u1780\u19e0"
    u"\u1401\u18b0\u13a0\u16a0\u1681\u1900\u1700\ua800\u1a00\u1980\u2d30\u1200\u2d80\ua840"
    u"\uab01\u07ca\u1b00\ua980\ua000\u1b80\u1c00\u1c5a\ua500\ua880\ua90a\ua930\uaa00\u1a20"
    u"\uaa80\u0800\ua4d0\ua6a0\ua984\uabc0\u1bc0\u0840㏟㏞㏿㍴㋍㍱㍉㌔㌢㍍㌘㌧㌃㌶㍑㍗㌍㌦㌣㌫"
    u"㍊㌻㌂㌀㌁㌭㌼㌱㌾㌴㌤㌥㌈㌇㌏㌎㌐㌑㌓㌙㌪㌹㌿㍂㍁㌲㌳㌵㌄㌅㌋㌌㌜㌕㌖㌗㌞㌝㌛㌚㌒㍅㍃㍄"
    u"㍇㍆㍋㍌㍈㌨㌩㌉㌊㌬㌸㌺㌷㌮㌰㌯㌽㍀㍕㍖㍒㍓㍔㌟㌠㌡㌆㍎㍏㍐\u3105\u2e80\u2800\u4dc0"
    u"\u31c0\ua700꜠ꞈ\ue000"
    u"\xd800"
    u"\xdc00"
    u"\u1100\u3200\u3260\uac00\ua960\u3220\u3280\u4e00\u3400"
    u"\xd840"
    u"々\u3031";
// clang-format on

/// Units that count last, in their order: control characters, apostrophe, hyphens and dashes.
// clang-format off
inline constexpr char16_t kDashes[] =
    u"\u0001\u0002\u0003\u0004\u0005\u0006\u0007\u0008\u000e\u000f\u0010\u0011\u0012\u0013"
    u"\u0014\u0015\u0016\u0017\u0018\u0019\u001a\u001b\u001c\u001d\u001e\u001f\u007f'-−‐‑‧⁃‒–—"
    u"―〜〰";
// clang-format on

/// Units that stand at the place of another with a mark and a form of their own: pairs of such a
/// unit and that other one, which may be itself. Marks add up with those that follow the unit.
struct Variants {
    std::uint8_t mark, form;
    const char16_t* pairs;
};

inline constexpr Variants kVariants[] = {
    // clang-format off
    {2, 2, u"ƻ2ƽ5ˆ^ˋ`\u061e#⁊‸⁋&⁍\"⁏%⁒$⁓‹⁗#₭₥⎴՜⎵՞⏑⅍☜⇺⟱⟰⟹⟸⟺⟸⟽⟸⸓ː〃⸑〆⸒《¢》¤『₤』₦【₨】₯"},
    {2, 2, u"〔₢〕₡〚\u060b〛₲〝₳〞₴〟₵︳‿︹€︻₩︼₰︽£︾¥﹃₥﹄₧﹉‾﹊‾﹋‾﹌‾﹍\u05c6﹝₮"},
    {2, 2, u"﹞\u0e3f﹟⁎﹠⁌﹩⁔﹪⁐｢₱｣₠"},
    {2, 0x03, u"\ufb21\u05d0\ufb22\u05d3\ufb23\u05d4\ufb24\u05da\ufb25\u05dc\ufb27\u05e8"},
    {2, 0x03, u"\ufb28\u05ea￣¯"},
    {2, 0x06, u"ℵ\u05d0ℶ\u05d1ℷ\u05d2ℸ\u05d3①1②2③3④4⑤5⑥6⑦7⑧8⑨9⑩⑩⑪⑪⑫⑫⑬⑬⑭⑭⑮⑮⑯⑯⑰⑰⑱⑱⑲⑲⑳⑳⓪0㉑㉑"},
    {2, 0x06, u"㉒㉒㉓㉓㉔㉔㉕㉕㉖㉖㉗㉗㉘㉘㉙㉙㉚㉚㉛㉛㊵㊵㊿㊿"},
    {2, 0x07, u"⓵1⓶2⓷3⓸4⓹5⓺6⓻7⓼8⓽9⓾⑩"}, {2, 0x0a, u"Ͷͷςσ֊‐ᵅαℼπ⓿0➀1➁2➂3➃4➄5➅6➆7➇8➈9➉⑩"},
    {2, 0x0b, u"\u2095h\u2096k\u2097l\u2098m\u209ap\u209bs\u209ct"}, {2, 0x0c, u"︱—︲–"},
    {2, 0x0e, u"²2³3¹1⁰0ⁱi⁴4⁵5⁶6⁷7⁸8⁹9⁺+⁻−⁼=⁽(⁾)ⁿn"}, {2, 0x0f, u"\u2099n"},
    {2, 0x12, u"ϳͷ\u05db\u05da\u05de\u05dd\u05e0\u05df\u05e4\u05e3\u05e6\u05e5"},
    {2, 0x13, u"\ufb26\u05dd"}, {2, 0x14, u"⓫⑪⓬⑫⓭⑬⓮⑭⓯⑮⓰⑯⓱⑰⓲⑱⓳⑲⓴⑳❶1❷2❸3❹4❺5❻6❼7❽8❾9❿⑩㉉⑳㉊㉚㉋㊵㉌㊿"},
    {2, 0x16, u"ɢgɪiɴnʀrʏyʙbʜhʟlᴀaᴄcᴅdᴇeᴊjᴋkᴍmᴏoᴘpᴛtᴜuᴠvᴡwᴢzᴣʒᴦγᴧλᴨπᴩρᴪψᴫл➊1➋2➌3➍4➎5➏6➐7➑8➒9"},
    {2, 0x16, u"➓⑩㉈⑩ꜰfꜱs"}, {2, 0x1c, u"Ʀr"}, {2, 0x22, u"\u06a9\u06a9"},
    {2, 0x62, u"ぁあぃいぅうぇえぉおっつゃやゅゆょよゎわゕかゖけ"},
    {0x03, 2, u"ɂƾˊ´˘ˇ\u0363a\u0364e\u0365i\u0366o\u0367u\u0368c\u0369d\u036ah\u036bm\u036cr"},
    {0x03, 2, u"\u036dt\u036ev\u036fxϐβϑθϕφϖπϰκϱρ\u0527һ\u1dd2ꝯ\u1ddag\u1ddck\u1dddl\u1de0n"},
    {0x03, 2, u"\u1de4s\u1de5ꞅ\u1de6zⅎf⸛~\ua7a7\ua791"}, {0x03, 0x0a, u"ʔƾᵄa"},
    {0x03, 0x0e, u"ªaºo"}, {0x03, 0x12, u"ϴθℙpℚq℧ω"},
    {0x03, 0x16, u"\u1ddbg\u1ddel\u1ddfm\u1de1n\u1de2r"},
    {0x04, 2, u"ıiĸkȷjʕƾˉ*ϲσҟкҵц℁㏂ℊgℓlℯeℴoⅆd⸞~\ua7a9\ua791"}, {0x04, 0x0c, u"\u06df0\u06e00"},
    {0x04, 0x12, u"ϼρℂc℉fℋhℒlℕn℘pℝrℤzℬbℰeℳmⅅd"}, {0x05, 2, u"ʖƾҧпҩөӄкℎh℮eℽγⅉj⸟~"},
    {0x05, 0x0a, u"ᵞγ"}, {0x05, 0x12, u"℃cℐiℛrℨz℩ωℱfℾγℿπ"}, {0x06, 2, u"ʡƾԝөⅇe"},
    {0x06, 0x12, u"ℍhℑiℜrℭc"}, {0x07, 2, u"ҷчⅈi"}, {0x07, 0x12, u"ℌh"}, {0x08, 2, u"⅀eꟾi"},
    {0x08, 0x12, u"℺q"}, {0x09, 2, u"ҝкҹч"},
    {0x0a, 2, u"ҡкᴉiᴑoᵷgᵺ㎔\u202f ⎪(⎶՝❬¸❭¿⸮?\ufb20\u05e2"}, {0x0a, 0x0a, u"ᵎi"},
    {0x0a, 0x12, u"℈℈⅁gꟻf"}, {0x0a, 0x16, u"ᴎnᴙr"}, {0x0a, 0x1a, u"ᴻn"},
    {0x0b, 2, u"ʢƾ\u06c4\u0648\u06ce\u064a\u06ff\u0647ꝿg"}, {0x0c, 2, u"ᴒoᴝᴝ"},
    {0x0c, 0x12, u"ᴤ℈⅂l"}, {0x0d, 2, u"ᴓo"}, {0x0d, 0x12, u"⅃l⅄y"}, {0x0e, 2, u"ꜫƾ"},
    {0x0f, 2, u"ᴞᴝꜭƾ"}, {0x10, 2, u"ͼσͽͻꜯƾ"}, {0x10, 0x12, u"İi"}, {0x11, 2, u"ŀlꜣƾꜿcꝼf"},
    {0x12, 2, u"\u06c1\u0647\u06cf\u0648\u06d1\u064aꞌƾ"},
    {0x14, 2, u"ӽхԓл\u0641\u06a1\u0642\u066f\u0646\u06ba\u067c\u067c\u0681\u062d\u0689\u0688"},
    {0x14, 2, u"\u068f\u068e\u0693\u0691\u0695\u0631\u069b\u0633\u069d\u0635\u069f\u0637"},
    {0x14, 2, u"\u06a0\u0639\u06ab\u0643\u06b0\u06af\u06b4\u06b2\u06b5\u0644\u06b9\u06b9"},
    {0x14, 2, u"\u06bf\u0686\u06c3\u0629\u06ee\u062f\u06fa\u0634\u06fb\u0636\u06fc\u063a‼!⎰("},
    {0x14, 2, u"❰¸❱¿"}, {0x15, 2, u"\u0671\u0671ↆ㊿"}, {0x18, 2, u"\ua7a1g"},
    {0x19, 2, u"ɫl\u06be\u0647\u06ca\u0648\u06d2\u064aᵬbᵭdᵮfᵯmᵱpᵲrᵴsᵵtᵶz"}, {0x1a, 2, u"ғгҙзҫсᵰn"},
    {0x1b, 2, u"ͳϡϙϟᵽpⱡl"}, {0x1b, 0x12, u"ϒυ"}, {0x1c, 2, u"⁅[⁆]ⱥa"},
    {0x1d, 2, u"ɇeɉjɍrɏy\u1dd7c⸠[⸡]\ua7a3k\ua7a5n"}, {0x1e, 2, u"đdħhƀbƚlƶzǥgȼcɟjɨiʉu⎱(⟨¸⟩¿"},
    {0x1e, 0x16, u"ᴃbᵻiᵾu"}, {0x1e, 0x1a, u"ᴯb"}, {0x1f, 2, u"łlᵳr"}, {0x1f, 0x16, u"ᴌl"},
    {0x1f, 0x22, u"\u063b\u06a9"}, {0x20, 2, u"ƛlɵo"}, {0x21, 2, u"øo"}, {0x22, 2, u"ƌd"},
    {0x25, 2, u"ↅ6"}, {0x27, 2, u"ӿх"},
    {0x28, 2, u"\u067d\u067c\u0682\u062d\u068a\u0688\u068b\u062f\u0690\u068e\u0692\u0631"},
    {0x28, 2, u"\u069a\u0633\u069e\u0635\u06a2\u06a1\u06a7\u066f\u06ae\u0643\u06b8\u0644"},
    {0x28, 2, u"\u06bc\u06ba\u06bd\u06b9⟪¸⟫¿⸨(⸩)"}, {0x29, 2, u"⟬¸⟭¿"}, {0x2a, 2, u"↉0⟮¸⟯¿"},
    {0x3c, 2, u"\u0685\u062d\u069c\u0633\u06a3\u06a1\u06a8\u066f\u06ac\u0643\u06b6\u0644"},
    {0x3c, 2, u"\u06ef\u0631"}, {0x3d, 2, u"ӻг"},
    {0x43, 2, u"ƈcƒfƙkƥpƭtƴyȥzɓbɗdɠgɦhɧꜧɱmɲnɽrʂsʄjʠq"}, {0x43, 0x16, u"ʛg"}, {0x45, 2, u"ɋq"},
    {0x47, 0x22, u"\u063c\u06a9"}, {0x48, 2, u"ŉn"}, {0x4b, 2, u"ƞn"},
    {0x50, 2, u"\u0694\u0631\u06b7\u0644\u06cc\u064a"}, {0x51, 2, u"ԑз"},
    {0x56, 2, u"ᶀbᶁdᶂfᶃgᶄkᶅlᶆmᶇnᶈpᶉrᶊsᶌvᶍxᶎz"}, {0x57, 2, u"ƫtᶏaᶙuꝑp"}, {0x58, 2, u"ꝓp"},
    {0x59, 2, u"ƕƕɭlɳnʈtʐzᶑdᶒeᶓɛᶖiᶚʒẜſỿyⱳwꝕpꝳm"}, {0x5a, 2, u"\u063d\u064aẝſꟼp"},
    {0x5b, 2, u"\u1dd3a"}, {0x5c, 2, u"ȿsɀz"}, {0x62, 2, u"\ufb2c\u05e9"},
    {0x63, 2, u"\ufb2d\u05e9"}, {0x63, 0x12, u"℥z"},
    {0x64, 2, u"ʮƕ\u05be \u063e\u064a\u0696\u0631⁇?⁑*"}, {0x65, 2, u"ⱦtⱨhⱪkⱬz"}, {0x67, 2, u"ⱴv"},
    {0x68, 2, u"ðdƃbℏh"}, {0x68, 0x16, u"ᴆd"}, {0x69, 2, u"\u1dd9dẚaⱸeꝍo"}, {0x6a, 2, u"ⱺo"},
    {0x6b, 2, u"ꝋo"}, {0x6e, 2, u"ʯƕ\u063f\u064aꝇlꞇt"}, {0x6f, 2, u"ꝉl"}, {0x70, 2, u"ꞁl"},
    {0x78, 2, u"\u0697\u0631"}, {0x79, 2, u"ⱷp"}, {0x7a, 2, u"ɔc"}, {0x7a, 0x16, u"ᴐc"},
    {0x7b, 2, u"ƿwɐaɣgɩiɬlɯmɸpɹrʇtʊuʋvʎyʝjʞkʤdᶗc"}, {0x7b, 0x16, u"ɶoᴚr"},
    {0x7c, 2, u"ƍdƣoƹʒɑaɕcɤgɥhɮlɰmɺrʃsʌvʍwʧtꝁk"}, {0x7c, 0x03, u"\ua78dh"},
    {0x7d, 2, u"ƺʒǝeɒaɡgɻrʨtᴈɛꝃkꝟv"}, {0x7d, 0x03, u"Ɒa"}, {0x7d, 0x0a, u"ᵌɛ"},
    {0x7d, 0x12, u"ꟽm"}, {0x7d, 0x16, u"ⱻe"}, {0x7e, 2, u"əeɷoɼrʑzʓʒᶐaⱱvꜩtꝅk"},
    {0x7f, 2, u"ɚeɾrỽvꝣzꝷt"}, {0x80, 2, u"ɘeɜɛɿr"}, {0x81, 2, u"ᶔɛ"}, {0x81, 0x16, u"ʁr"},
    {0x82, 2, u"ɝɛꞃr"}, {0x83, 2, u"ɞɛꝛr"}, {0x84, 2, u"\u1de3r"}, {0x85, 2, u"ⱹr"},
    {0x86, 2, u"ʚɛꝵr"}, {0x86, 0x16, u"ꝶr"}, {0x87, 2, u"ƅbƨsꝝr"}, {0x88, 2, u"ʗc"},
    {0x8c, 2, u"ᶋs"}, {0x8c, 0x0a, u"ᶿt"}, {0x91, 2, u"ᶘs"}, {0x94, 2, u"ᵼiᵿu"}, {0x96, 2, u"ʆs"},
    {0x97, 2, u"ȝɛ"}, {0xa0, 2, u"ʅs"}, {0xaa, 2, u"ƪsᴔȣ"}, {0xc8, 2, u"ȶt⁈?⁉!⸦¸⸧¿"},
    {0xc8, 0x04, u"\u0673\u0671"}, {0xc8, 0x12, u"ℇɛ"}, {0xc9, 2, u"⸘?"}, {0xcd, 2, u"ꝺd"},
    {0xce, 2, u"\u1dd8d"},
    {0xd7, 2, u"\u0623\u0627\u0624\u0648\u0626\u064a\u0677\u06c7\u06c0\u06d5ᶕe"},
    {0xd9, 2, u"\u0622\u0627"}, {0xdc, 0x04, u"\u0672\u0671"}, {0xdc, 0x16, u"ᴕo"},
    {0xe6, 2, u"ᴖoᴟm"}, {0xe7, 2, u"\u06c2\u0647ᴗoↄↄ〇0〡1〢2〣3〤4〥5〦6〧7〨8〩9〸⑩〹⑳〺㉚"},
    {0xe8, 2, u"ⅽↄⅿⅿↀⅿ"}, {0xe9, 2, u"⑴1⑵2⑶3⑷4⑸5⑹6⑺7⑻8⑼9⑽⑩⑾⑪⑿⑫⒀⑬⒁⑭⒂⑮⒃⑯⒄⑰⒅⑱⒆⑲⒇⑳"},
    {0xea, 2, u"⒈1⒉2⒊3⒋4⒌5⒍6⒎7⒏8⒐9⒑⑩⒒⑪⒓⑫⒔⑬⒕⑭⒖⑮⒗⑯⒘⑰⒙⑱⒚⑲⒛⑳"},
    {0xeb, 2, u"㍘0㍙1㍚2㍛3㍜4㍝5㍞6㍟7㍠8㍡9㍢⑩㍣⑪㍤⑫㍥⑬㍦⑭㍧⑮㍨⑯㍩⑰㍪⑱㍫⑲㍬⑳㍭㉑㍮㉒㍯㉓"},
    {0xeb, 2, u"㍰㉔"},
    {0xee, 2, u"\u06d3\u064a⊕+⊜=㏠1㏡2㏢3㏣4㏤5㏥6㏦7㏧8㏨9㏩⑩㏪⑪㏫⑫㏬⑬㏭⑭㏮⑮㏯⑯㏰⑰㏱⑱㏲⑲㏳⑳"},
    {0xee, 2, u"㏴㉑㏵㉒㏶㉓㏷㉔㏸㉕㏹㉖㏺㉗㏻㉘㏼㉙㏽㉚㏾㉛"}, {0xef, 2, u"⊞+"},
    {0xf1, 2, u"㋀1㋁2㋂3㋃4㋄5㋅6㋆7㋇8㋈9㋉⑩㋊⑩㋋⑪"},
    {0xf2, 2, u"⒜a⒝b⒞c⒟d⒠e⒡f⒢g⒣h⒤i⒥j⒦k⒧l⒨m⒩n⒪o⒫p⒬q⒭r⒮s⒯t⒰u⒱v⒲w⒳x⒴y⒵z⚀1⚁2⚂3⚃4⚄5⚅6"},
    {0xf3, 2, u"ꝗq"}, {0xf4, 2, u"ꝙq"},
    // clang-format on
};

/// Units from `first` on that only add a mark to the sign before them; 0 is none of them.
struct Marks {
    char16_t first;
    std::uint8_t weights[16];
};

inline constexpr Marks kMarks[] = {
    // clang-format off
    {0x02b9, {12, 25, 69, 70, 71, 119, 120}},
    {0x02c0, {63, 121, 122, 123, 124, 125, 0, 0, 64, 0, 0, 0, 90, 98, 126, 127}},
    {0x02d1, {129, 130, 131, 80, 81, 82, 83, 0, 0, 0, 0, 0, 0, 132, 52}},
    {0x02e4, {133, 134, 135, 136, 137, 138, 53, 54, 55, 56, 57, 58}},
    {0x02f0, {59, 60, 61, 241, 242, 243, 244, 245, 246, 247, 248, 249, 250, 251, 251, 252}},
    {0x0300, {13, 12, 16, 23, 21, 62, 19, 14, 17, 63, 24, 27, 18, 3, 65, 66}},
    {0x0310, {67, 68, 69, 70, 71, 72, 73, 74, 75, 76, 77, 78, 79, 80, 81, 82}},
    {0x0320, {83, 84, 85, 86, 87, 88, 89, 26, 25, 90, 91, 92, 93, 94, 95, 96}},
    {0x0330, {97, 98, 99, 100, 101, 28, 28, 29, 30, 103, 104, 105, 106, 107, 108, 109}},
    {0x0342, {141, 0, 29, 144, 116, 117, 118, 92, 93, 94, 95, 96, 97}},
    {0x0350, {84, 85, 86, 87, 88, 89, 90, 91, 30, 31, 32, 33, 40, 20, 21, 21}},
    {0x0360, {23, 68, 39}},
    {0x0483, {148, 149, 150, 151, 152}},
    {0x0559, {152, 153}},
    {0x0591, {4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16, 17, 18}},
    {0x05a0, {19, 21, 3, 22, 23, 24, 25, 26, 27, 28, 29, 30, 31, 32, 33, 34}},
    {0x05b0, {35, 36, 37, 38, 39, 40, 41, 42, 43, 45, 45, 46, 47, 48, 0, 49}},
    {0x05c0, {50, 51, 52, 0, 33, 53, 0, 43}},
    {0x0602, {102}},
    {0x0610, {199, 191, 192, 193, 194, 202, 236, 237, 238, 239, 240}},
    {0x064b, {221, 222, 223, 224, 225}},
    {0x0650, {226, 228, 227, 216, 214, 212, 197, 198, 220, 230, 231, 232, 233, 234, 235, 213}},
    {0x0670, {229}},
    {0x06d8, {211, 203, 207, 196, 208}},
    {0x06e1, {206, 219, 210, 205, 201, 204, 215, 217, 0, 209, 200, 44, 218}},
    {0x0e47, {8, 3, 4, 5, 6, 9, 7}},
    {0x1dc0, {122, 123, 124, 125, 33, 34, 34, 33, 38, 37, 255, 39, 39, 40, 41, 42}},
    {0x1dd0, {43, 44}},
    {0x1dfc, {43, 43, 253, 254}},
    {0x20d0, {221, 222, 223, 224, 225, 226, 227, 228, 229, 230, 231, 232, 233, 236, 237, 238}},
    {0x20e0, {239, 240, 241, 242, 243, 244, 245, 246, 247, 248, 249, 126, 139, 140, 141, 142}},
    {0x20f0, {143}},
    {0x302a, {7, 8, 9, 11, 7, 8}},
    {0x303c, {3, 3, 3}},
    {0x3099, {3, 4, 3, 4}},
    {0xfb1e, {50}},
    {0xfe20, {23, 23, 23, 23, 24, 25, 26}},
    // clang-format on
};

/// Units that count as the text beside them, and their capitals as that text in capitals. Intended:
/// some square units (㎟, ㎦) count as something odd, as they do in the reference.
struct Expansion {
    char16_t unit;
    const char16_t* text;
};

inline constexpr Expansion kExpansions[] = {
    // clang-format off
    {u'ß', u"ss"}, {u'æ', u"ae"}, {u'ǽ', u"aé"}, {u'ǣ', u"aē"}, {u'ᴭ', u"AE"}, {u'œ', u"oe"}, {u'þ', u"th"},
    {u'ȸ', u"Db"}, {u'ȹ', u"Qp"}, {u'ʩ', u"fn"}, {u'ʪ', u"ls"}, {u'ʫ', u"lz"}, {u'ᴁ', u"AE"}, {u'ᴂ', u"ae"}, {u'ᵆ', u"ae"},
    {u'ỻ', u"ll"}, {u'ꜳ', u"aa"}, {u'ꜵ', u"ao"}, {u'ꜷ', u"au"}, {u'ꜹ', u"av"}, {u'ꜻ', u"av"}, {u'ꜽ', u"ay"},
    {u'ꝏ', u"oo"}, {u'ꝡ', u"vy"}, {u'ꝥ', u"th"}, {u'ꝧ', u"th"}, {u'ﬅ', u"ſt"},
    {u'\u05f0', u"\u05d5\u05d5"}, {u'\u05f1', u"\u05d5\u05d9"}, {u'\u05f2', u"\u05d9\u05d9"},
    {u'\u06d6', u"\u0635\u0644\u0649"}, {u'\u06d7', u"\u0642\u0644\u0649"},
    {u'\u1dd4', u"\u0363\u0364"}, {u'\u1dd5', u"\u0363\u0366"}, {u'\u1dd6', u"\u0363\u036e"},
    {u'㍸', u"em²"}, {u'㍹', u"em³"}, {u'㎕', u"μℓ"}, {u'㎖', u"mℓ"}, {u'㎗', u"dℓ"}, {u'㎘', u"kℓ"},
    {u'㎟', u"m㎑"}, {u'㎠', u"cm²"}, {u'㎡', u"m²"}, {u'㎢', u"k㎑"}, {u'㎣', u"mμℓ"}, {u'㎤', u"cm³"},
    {u'㎥', u"m³"}, {u'㎦', u"kμℓ"},
    // clang-format on
};

/// What a compatibility form adds to the weights of the unit that it is a form of.
struct Form {
    UDecompositionType type;
    std::uint8_t mark, form;
};

inline constexpr Form kForms[] = {
    {U_DT_CIRCLE, 236, 0}, {U_DT_NARROW, 0, 0xe0}, {U_DT_SMALL, 0, 8},
    {U_DT_SUB, 0, 2},      {U_DT_SUPER, 0, 8},     {U_DT_WIDE, 0, 1},
};

/// Units that count for nothing, beside those that Unicode calls ignorable and those that are not
/// assigned in the version that the reference knows.
inline constexpr char16_t kIgnored[] =
    u"\u0640\u0ecc\u1806\u3190\u3191\ufff9\ufffa\ufffb\ufffc\ufffd";
inline constexpr int kUnicodeVersion = 6;

} // namespace platform::collation
