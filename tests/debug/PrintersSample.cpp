// What the debugger's printers are tried on, at the call of `Look`.

#include "core/base/BArray.h"
#include "core/base/BDictionary.h"
#include "core/base/BError.h"
#include "core/base/BMap.h"
#include "core/base/BString.h"
#include "core/base/DList.h"
#include "core/base/ErrorCodes.h"
#include "core/base/SP.h"
#include "core/base/WString.h"
#include "core/tree/BNode.h"

#include <cstring>

extern "C" void Look(const void*) {}

class PlaneNode : public BNode {};

int main()
{
    const SP<BNode> part = new BNode;
    part->SetText(QD_W("Part"));
    alignas(BArray<WString>) unsigned char raw[sizeof(BArray<WString>)];
    std::memset(raw, 1, sizeof raw);
    struct Sample {
        WString noText;
        WString wide = QD_W("Fl\u00E4che \u03B1 \U0001F600");
        BString narrow = "Fl\xE4"
                         "che";
        SP<BNode> nothing;
        SP<BSmartObj> node = new BNode;
        SP<BSmartObj> shared = node;
        BArray<int> noElements;
        BArray<WString> array;
        DList<double> list;
        BDictionary<WString, int> noEntries;
        BDictionary<int, BString> dictionary;
        BMap<int, WString> map;
        BError error{7, QD_W("$IDS_Hint"), nullptr, QD_W("part"), nullptr};
        BError stopped{kErrorUserBreak};
        BError unread{kErrorGeneral, QD_W("$IDS_ErrorHint16"), nullptr, nullptr, nullptr};
        SP<BNode> plane = new PlaneNode;
        BNode* inTree = plane.Get();
        const BArray<WString>* notConstructed = nullptr;
    } sample;
    sample.plane->SetText(QD_W("Fl\u00E4che"));
    part->AddChild(sample.plane.Get(), -1);
    sample.notConstructed = reinterpret_cast<const BArray<WString>*>(raw);
    sample.array.Append(QD_W("a"));
    sample.array.Append(QD_W("b"));
    sample.list.AddTail(0.5);
    sample.list.AddHead(0.25);
    for (const int key : {9277 + 1, 40, 1, 9276}) // the first and the third share a bucket
        sample.dictionary.Insert(key, BString("value"));
    for (const int key : {5, 3, 8, 1, 4, 9, 7})
        sample.map.Insert(key, WString::FromInt(key));
    Look(&sample);
    return 0;
}
