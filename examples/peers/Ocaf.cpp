// The code of docs/coming-from-ocaf.md that is OCAF's.

#include <BinDrivers.hxx>
#include <TDF_ChildIterator.hxx>
#include <TDF_Reference.hxx>
#include <TDF_TagSource.hxx>
#include <TDataStd_ByteArray.hxx>
#include <TDataStd_Integer.hxx>
#include <TDataStd_Name.hxx>
#include <TDocStd_Application.hxx>
#include <filesystem>

bool KeepPart(const TCollection_ExtendedString& folder)
{
    const Handle(TDocStd_Application) application = new TDocStd_Application;
    BinDrivers::DefineFormat(application);
    Handle(TDocStd_Document) document;
    application->NewDocument("BinOcaf", document);
    const TDF_Label part = document->Main();
    TDataStd_Name::Set(part, "Housing");
    const TDF_Label scan = TDF_TagSource::NewChild(part);
    TDataStd_Name::Set(scan, "Scan");
    TDataStd_ByteArray::Set(scan, 0, 640 * 480 / 8 - 1);
    for (const char* const name : {"Top", "Bottom"}) {
        const TDF_Label plane = TDF_TagSource::NewChild(part);
        TDataStd_Name::Set(plane, name);
        TDF_Reference::Set(plane, scan); // both share one scan, which has a label of its own
    }
    if (application->SaveAs(document, folder + "/part.cbf") != PCDM_SS_OK)
        return false;
    application->Close(document);

    Handle(TDocStd_Document) loaded;
    if (application->Open(folder + "/part.cbf", loaded) != PCDM_RS_OK)
        return false;
    bool found = false;
    for (TDF_ChildIterator child(loaded->Main()); child.More() && !found; child.Next()) {
        Handle(TDataStd_Name) name;
        Handle(TDF_Reference) reference;
        found = child.Value().FindAttribute(TDataStd_Name::GetID(), name) && name->Get() == "Top" &&
                child.Value().FindAttribute(TDF_Reference::GetID(), reference);
    }
    application->Close(loaded);
    return found; // settings are another library's
}

int main()
{
    const std::filesystem::path folder = std::filesystem::temp_directory_path() / "qdpeer-ocaf";
    std::filesystem::create_directory(folder);
    const bool kept = KeepPart(folder.c_str());
    std::filesystem::remove_all(folder);
    return kept ? 0 : 1;
}
