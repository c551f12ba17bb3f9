#include "marc/MarcObjectFields.h"

#include <algorithm>
#include <cstddef>
#include <limits>
#include <utility>

#include "config/Error.h"
#include "config/Strings.h"
#include "marc/SubfieldText.h"

namespace tesselex {

namespace {

constexpr int kLeaderLength = 24;
// Occurrences up to this deep are found by following the chain.
constexpr int kShortWalk = 8;

bool Indexable(int tag) {
    return tag >= 1 && tag <= MarcObjectFields::MaxTag;
}

void CheckTagRange(int tag) {
    if (tag < 0 || tag > MarcObjectFields::MaxTag) {
        throw Error(ErrorNumber::SubscriptOutOfRange);
    }
}

// The tag as three digits; Add only makes tags of 1..999, so no general formatting is needed.
std::u16string ThreeDigits(int tag) {
    return {static_cast<char16_t>(u'0' + tag / 100), static_cast<char16_t>(u'0' + tag / 10 % 10),
            static_cast<char16_t>(u'0' + tag % 10)};
}

std::size_t Slot(int tag) {
    return static_cast<std::size_t>(tag);
}

}  // namespace

MarcObjectFields::MarcObjectFields() {
    ResetIndex();
    AddLeader();
}

MarcObjectFields::~MarcObjectFields() {
    for (const Item& field : items_) {
        field->owner_ = nullptr;
    }
}

int MarcObjectFields::TagNumber(std::u16string_view tag) noexcept {
    const long long number = ValInteger(tag);
    // Anything beyond the tag range is as good as any other out-of-range number.
    return static_cast<int>(std::clamp<long long>(number, -1, 100000));
}

MarcObjectFields::Item MarcObjectFields::Detached() {
    return std::make_shared<MarcObjectField>();
}

void MarcObjectFields::AddLeader() {
    auto leader = std::make_shared<MarcObjectField>();
    leader->fixedLength_ = kLeaderLength;
    leader->SetTag(0);
    leader->contents_.assign(kLeaderLength, u' ');
    leader->owner_ = this;
    items_.push_back(std::move(leader));
    next_.push_back(0);
}

bool MarcObjectFields::Duplicate(int tag, int occ, bool includeIndicators) {
    const int count = Indexable(tag) ? count_[Slot(tag)] : 0;
    if (count == 0) {
        return false;
    }
    const auto textOf = [this, tag, includeIndicators](int occurrence) {
        const Item field = Field(tag, occurrence);
        std::u16string text;
        if (includeIndicators) {
            text = field->Indicator(1) + field->Indicator(2);
        }
        text += field->Value();
        return Trim(text);
    };
    const std::u16string wanted = textOf(occ);
    for (int i = 1; i <= count; ++i) {
        if (i != occ && textOf(i) == wanted) {
            return true;
        }
    }
    return false;
}

bool MarcObjectFields::Duplicate(std::u16string_view tag, int occ, bool includeIndicators) {
    return Duplicate(TagNumber(tag), occ, includeIndicators);
}

MarcObjectFields::Item MarcObjectFields::Add(int tag, std::u16string_view ind1,
                                             std::u16string_view ind2, std::u16string_view value,
                                             bool fixed, bool sorted) {
    if (tag < 0 || tag > MaxTag) {
        return nullptr;
    }
    if (tag == 0) {
        if (value.size() == kLeaderLength) {
            items_.front()->SetValue(value);
        }
        return items_.front();
    }
    if (tag >= 100 && tag <= 199) {
        mainEntryTag_ = tag;
    } else if (mainEntryTag_ == 0 && (tag == 223 || tag == 245)) {
        mainEntryTag_ = tag;
    }
    if (fixed && value.empty()) {
        return nullptr;
    }

    auto field = std::make_shared<MarcObjectField>();
    field->tag_ = ThreeDigits(tag);
    field->tagNumber_ = tag;
    field->SetIndicator(1, ind1);
    field->SetIndicator(2, ind2);
    // The backslash is the delimiter of the text callers hand in; a literal one arrives as 20.
    std::u16string text(value.size(), u' ');
    for (std::size_t i = 0; i < value.size(); ++i) {  // branch-free, so it vectorises
        text[i] = value[i] == u'\\' ? kSubfieldDelimiter : value[i];
    }
    if (fixed) {
        field->fixedLength_ = static_cast<int>(text.size());
        field->contents_ = std::move(text);
    } else {
        field->StoreSubfieldText(std::move(text));
    }
    field->owner_ = this;

    std::size_t at = items_.size();
    if (sorted) {
        const auto after = std::find_if(items_.begin(), items_.end(),
                                        [tag](const Item& f) { return f->tagNumber_ > tag; });
        at = static_cast<std::size_t>(after - items_.begin());
    }
    if (at == items_.size()) {
        items_.push_back(field);
        next_.push_back(0);
        IndexAppended();
    } else {
        items_.insert(items_.begin() + static_cast<std::ptrdiff_t>(at), field);
        Rebuild();
    }
    return field;
}

MarcObjectFields::Item MarcObjectFields::Add(std::u16string_view tag, std::u16string_view ind1,
                                             std::u16string_view ind2, std::u16string_view value,
                                             bool fixed, bool sorted) {
    return Add(TagNumber(tag), ind1, ind2, value, fixed, sorted);
}

void MarcObjectFields::RemoveAt(std::size_t index) {
    items_[index]->owner_ = nullptr;
    items_.erase(items_.begin() + static_cast<std::ptrdiff_t>(index));
}

void MarcObjectFields::Delete(int tag, int occ) {
    CheckTagRange(tag);
    const int pos = Indexable(tag) ? PositionOf(tag, occ) : 0;
    if (pos < 1 || pos > Count()) {
        return;
    }
    RemoveAt(static_cast<std::size_t>(pos - 1));
    Rebuild();
}

void MarcObjectFields::Delete(std::u16string_view tag, int occ) {
    Delete(TagNumber(tag), occ);
}

void MarcObjectFields::DeleteAll(int tag) {
    CheckTagRange(tag);
    if (!Indexable(tag) || count_[Slot(tag)] == 0) {
        return;
    }
    if (stale_ || indexed_ != indexable_) {
        // The index does not describe the present fields: remove one by one as it finds them.
        while (count_[Slot(tag)] >= 1) {
            const int before = Count();
            Delete(tag, 1);
            if (Count() == before) {
                break;  // the index points nowhere: nothing more to remove
            }
        }
        return;
    }
    for (Item& field : items_) {
        if (field->tagNumber_ == tag) {
            field->owner_ = nullptr;
        }
    }
    std::erase_if(items_, [](const Item& f) { return f->owner_ == nullptr; });
    Rebuild();
}

void MarcObjectFields::DeleteAll(std::u16string_view tag) {
    DeleteAll(TagNumber(tag));
}

MarcObjectFields::Item MarcObjectFields::FieldByNum(int pos) const {
    if (pos < 1 || pos > Count()) {
        throw Error(ErrorNumber::SubscriptOutOfRange);
    }
    return items_[static_cast<std::size_t>(pos - 1)];
}

int MarcObjectFields::PositionOf(int tag, int occ) const {
    const int count = count_[Slot(tag)];
    if (occ < 1) {
        occ = 1;
    }
    if (count < occ) {
        return 0;
    }
    if (occ <= kShortWalk) {
        int pos = first_[Slot(tag)];
        for (int at = 1; at < occ && pos != 0; ++at) {
            pos = next_[static_cast<std::size_t>(pos)];
        }
        return pos;
    }
    if (occurrencesTag_ != tag) {
        occurrences_.clear();
        for (int pos = first_[Slot(tag)]; pos != 0; pos = next_[static_cast<std::size_t>(pos)]) {
            occurrences_.push_back(pos);
        }
        occurrencesTag_ = tag;
    }
    return occurrences_[static_cast<std::size_t>(occ - 1)];
}

MarcObjectFields::Item MarcObjectFields::Field(int tag, int occ) const {
    if (tag < 0 || tag > MaxTag) {
        return Detached();
    }
    if (tag == 0) {
        return items_.front();
    }
    const int pos = PositionOf(tag, occ);
    if (pos < 1 || pos > Count()) {
        return Detached();
    }
    return items_[static_cast<std::size_t>(pos - 1)];
}

MarcObjectFields::Item MarcObjectFields::Field(std::u16string_view tag, int occ) const {
    return Field(TagNumber(tag), occ);
}

bool MarcObjectFields::TagExists(int tag, int occ) const {
    return tag >= 0 && tag <= MaxTag && count_[Slot(tag)] >= occ;
}

bool MarcObjectFields::TagExists(std::u16string_view tag, int occ) const {
    return TagExists(TagNumber(tag), occ);
}

bool MarcObjectFields::TagExists(const std::vector<int>& tags) const {
    return std::any_of(tags.begin(), tags.end(), [this](int tag) {
        return tag >= 0 && tag <= MaxTag && count_[Slot(tag)] >= 1;
    });
}

int MarcObjectFields::TagOcc(int tag) const {
    CheckTagRange(tag);
    return count_[Slot(tag)];
}

int MarcObjectFields::TagOcc(std::u16string_view tag) const {
    return TagOcc(TagNumber(tag));
}

void MarcObjectFields::Clear() {
    for (const Item& field : items_) {
        field->owner_ = nullptr;
    }
    items_.clear();
    mainEntryTag_ = 0;
    ResetIndex();
    AddLeader();
}

void MarcObjectFields::Sort() {
    std::vector<Item> sorted;
    sorted.reserve(items_.size());
    for (const Item& field : items_) {
        sorted.push_back(field->Clone());
        sorted.back()->owner_ = this;
        field->owner_ = nullptr;
    }
    std::stable_sort(sorted.begin() + 1, sorted.end(),
                     [](const Item& a, const Item& b) { return a->tagNumber_ < b->tagNumber_; });
    items_ = std::move(sorted);
    Rebuild();
}

void MarcObjectFields::Refresh() {
    Rebuild();
}

void MarcObjectFields::ResetIndex() {
    count_.fill(0);
    first_.fill(0);
    last_.fill(0);
    next_.assign(items_.size() + 1, 0);
    indexed_ = 0;
    indexable_ = 0;
    stale_ = false;
    occurrencesTag_ = -1;
}

void MarcObjectFields::IndexAppended() {
    if (stale_) {
        Rebuild();  // a held field changed its tag: rebuild, failing where that fails
        return;
    }
    const int tag = items_.back()->tagNumber_;
    if (!Indexable(tag)) {
        return;
    }
    ++indexable_;
    // Past the limit the indexed fields are as they were: a rebuild would only fail again, at
    // a cost that grows with every further field.
    IndexOne(Count(), tag);
    if (tag == occurrencesTag_) {
        occurrences_.push_back(Count());
    }
}

void MarcObjectFields::IndexOne(int pos, int tag) {
    if (indexed_ >= MaxIndexed) {
        throw Error(ErrorNumber::SubscriptOutOfRange);
    }
    const std::size_t t = Slot(tag);
    if (++count_[t] == 1) {
        first_[t] = pos;
    } else {
        next_[static_cast<std::size_t>(last_[t])] = pos;
    }
    last_[t] = pos;
    ++indexed_;
}

void MarcObjectFields::Rebuild() {
    ResetIndex();
    indexable_ = static_cast<int>(std::count_if(
        items_.begin(), items_.end(), [](const Item& f) { return Indexable(f->tagNumber_); }));
    int pos = 0;
    for (const Item& field : items_) {
        ++pos;
        if (Indexable(field->tagNumber_)) {
            IndexOne(pos, field->tagNumber_);
        }
    }
}

}  // namespace tesselex
