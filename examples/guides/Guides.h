#pragma once

class WString;

// What the guides in `docs` and the README tell, as parts of a program: each shows what becomes of
// its page's code. Files go to `folder`.

void ShowReadme(const WString& folder);
void ShowDocuments(const WString& folder);
void ShowTrees();
void ShowSettings(const WString& folder);
void ShowSettingsDialogue(const WString& folder);
void ShowOperations();
void ShowTexts(const WString& folder);
void ShowTranslation(const WString& folder);
void ShowComingFrom(const WString& folder);
