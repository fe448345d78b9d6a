// The file of learnt words: whatever bytes it has, what was read is written the same, bounded, and read again. The
// first byte tells whether the rest is the file, or a mail that is learnt.

#include "app/filter/learnedjudge.h"
#include "app/filter/mailwords.h"
#include "fuzz/fuzz.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size == 0)
        return 0;
    const std::string_view bytes(reinterpret_cast<const char*>(data) + 1, size - 1);
    LEARNINGSTORE store;
    if (data[0] != 'm') {
        Never(store.Read(bytes) != LEARNINGSTORE::READ::GOOD && store.Words() != 0);
    } else {
        const DECODEDVIEW view(bytes);
        const std::vector<std::string> words = MailWords(view);
        Never(words.size() > MAILWORDS_MOST);
        for (const std::string& word : words)
            Never(word.empty() || word.size() > MAILWORD_BYTES || word.find_first_of(" \n\r\t") != word.npos);
        for (uint64_t mail = 0; mail < uint64_t{2} * LEARNING_FIRST_MAILS; ++mail)
            Never(!store.Learn(words, mail, mail % 2 == 0, 1));
        const LEARNEDVERDICT verdict = JudgeWords(store, words);
        Never(verdict.Kind == LEARNEDVERDICT::SILENT || verdict.Percent < 0 || verdict.Percent > 100);
    }
    const std::string text = store.Text();
    LEARNINGSTORE again;
    Never(again.Read(text) != LEARNINGSTORE::READ::GOOD || again.Text() != text);
    return 0;
}
