#include "store/RecordSearch.h"

#include "maker/Ek7Index/Ek7Index.h"
#include "store/ComponentFiles.h"

#include <cstdio>
#include <vector>

RecordSearch::RecordSearch(std::string workspace)
    : m_index(components::workspacePath(workspace, components::kIndex))
{
}

int RecordSearch::listTypeFor(unsigned families)
{
    switch (families) {
    case kEk7FamilyMeeting: return 2;
    case kEk7FamilyPhone: return 3;
    case kEk7FamilyDiary: return 4;
    case kEk7FamilyTranslation: return 5;
    case kEk7FamilyVideo: return 6;
    default: return 1;
    }
}

int RecordSearch::searchTypeFor(int listType)
{
    return listType == 6 ? SearchLogRows::kVideo : listType;
}

SearchAnswer RecordSearch::run(const SearchRequest& request) const
{
    SearchAnswer answer;
    answer.listType = listTypeFor(request.families);
    answer.rows.reset(searchTypeFor(answer.listType));

    Ek7IndexQuery query;
    query.words = request.words.c_str();
    query.families = request.families;
    query.from = request.fromDay > 0 ? static_cast<std::int64_t>(request.fromDay) * 1000000 : 0;
    query.to = request.toDay > 0 ? static_cast<std::int64_t>(request.toDay) * 1000000 + 235959 : 0;
    query.newMessagesOnly = request.newMessagesOnly;
    query.order = request.newestFirst ? Ek7IndexQuery::Newest : Ek7IndexQuery::Relevance;
    query.limit = request.limit;
    std::vector<Ek7IndexHit> hits;
    answer.code = Ek7IndexFind(m_index.c_str(), query, &hits, &answer.total);
    const bool wordsAlone = request.families == 0 && query.from == 0 && query.to == 0 && !request.newMessagesOnly;
    answer.unranked = answer.code == 0 && !request.newestFirst && wordsAlone &&
                      request.words.find_first_not_of(" \t\xAC") != std::string::npos &&
                      answer.total > query.rankLimit;
    for (const Ek7IndexHit& hit : hits) {
        if (!hit.line.empty()) {
            answer.rows.add(hit.line);
            continue;
        }
        // An entry without its line still shows its RecID and type.
        char head[32];
        std::snprintf(head, sizeof head, "%08u ", static_cast<unsigned>(hit.recId));
        answer.rows.add(head + hit.recordType);
    }
    return answer;
}
