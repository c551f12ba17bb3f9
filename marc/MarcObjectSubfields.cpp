#include "marc/MarcObjectSubfields.h"

#include <algorithm>
#include <cstddef>
#include <utility>

#include "config/Error.h"
#include "config/Strings.h"
#include "marc/SubfieldText.h"

namespace tesselex {

namespace {

constexpr int kCodeLimit = 256;

std::size_t CodeIndex(char16_t code) {
    if (code >= kCodeLimit) {
        throw Error(ErrorNumber::SubscriptOutOfRange);
    }
    return code;
}

std::shared_ptr<MarcObjectSubfield> Detached() {
    return std::make_shared<MarcObjectSubfield>();
}

// Where a code goes in an order of codes: its place there, or behind every listed code.
std::size_t Rank(std::u16string_view order, char16_t code) {
    const std::size_t at = order.find(code);
    return at == std::u16string_view::npos ? order.size() : at;
}

}  // namespace

MarcObjectSubfields::MarcObjectSubfields() : next_(1, 0) {}

int MarcObjectSubfields::PositionOf(char16_t code, int occ) const {
    const std::size_t c = CodeIndex(code);
    if (occ < 1) {
        occ = 1;
    }
    if (count_[c] < occ) {
        return 0;
    }
    int pos = first_[c];
    for (int i = 1; i < occ && pos != 0; ++i) {
        pos = next_[static_cast<std::size_t>(pos)];
    }
    return pos;
}

MarcObjectSubfields::Item MarcObjectSubfields::Field(char16_t code, int occ) const {
    const int pos = PositionOf(code, occ);
    if (pos < 1 || pos > Count()) {
        return Detached();
    }
    return items_[static_cast<std::size_t>(pos - 1)];
}

MarcObjectSubfields::Item MarcObjectSubfields::FieldByNum(int pos) const {
    if (pos < 1 || pos > Count()) {
        throw Error(ErrorNumber::SubscriptOutOfRange);
    }
    return items_[static_cast<std::size_t>(pos - 1)];
}

int MarcObjectSubfields::SubfieldOcc(char16_t code) const {
    return count_[CodeIndex(code)];
}

MarcObjectSubfields::Item MarcObjectSubfields::Add(char16_t code, std::u16string_view value,
                                                   int position, bool ifNotExists,
                                                   std::u16string_view order) {
    auto item = std::make_shared<MarcObjectSubfield>(code, value);
    if (ifNotExists) {
        for (const Item& existing : items_) {
            if (existing->Fieldname == code && existing->StoredValue() == item->StoredValue()) {
                return existing;
            }
        }
    }
    std::size_t at = items_.size();
    const std::size_t inOrder = order.empty() ? std::u16string_view::npos : order.find(code);
    if (inOrder != std::u16string_view::npos) {
        const std::u16string_view followers = order.substr(inOrder + 1);
        const auto follower = std::find_if(items_.begin(), items_.end(), [&](const Item& it) {
            return followers.find(it->Fieldname) != std::u16string_view::npos;
        });
        at = static_cast<std::size_t>(follower - items_.begin());
    } else if (position >= 1 && position <= Count()) {
        at = static_cast<std::size_t>(position - 1);
    }
    Insert(at, item);
    return item;
}

void MarcObjectSubfields::Insert(std::size_t at, Item item) {
    if (at >= items_.size()) {
        items_.push_back(std::move(item));
        IndexAppended();
    } else {
        items_.insert(items_.begin() + static_cast<std::ptrdiff_t>(at), std::move(item));
        Rebuild();
    }
}

void MarcObjectSubfields::Delete(char16_t code, int occ) {
    const int pos = PositionOf(code, occ);
    if (pos < 1 || pos > Count()) {
        return;
    }
    items_.erase(items_.begin() + (pos - 1));
    Rebuild();
}

void MarcObjectSubfields::DeleteAll(char16_t code) {
    const std::size_t c = CodeIndex(code);
    if (indexed_ != Count()) {
        // The index is short after a limit error: remove one by one as the index finds them,
        // so the error comes back exactly where it did.
        while (count_[c] >= 1) {
            const int before = Count();
            Delete(code, 1);
            if (Count() == before) {
                break;
            }
        }
        return;
    }
    if (count_[c] == 0) {
        return;
    }
    std::erase_if(items_, [code](const Item& it) { return it->Fieldname == code; });
    Rebuild();
}

void MarcObjectSubfields::Sort(std::u16string_view order) {
    if (order.empty()) {
        std::stable_sort(items_.begin(), items_.end(),
                         [](const Item& a, const Item& b) { return a->Fieldname < b->Fieldname; });
    } else {
        std::stable_sort(items_.begin(), items_.end(), [order](const Item& a, const Item& b) {
            return Rank(order, a->Fieldname) < Rank(order, b->Fieldname);
        });
    }
    Rebuild();
}

void MarcObjectSubfields::ReOrder(std::u16string_view order) {
    std::vector<std::size_t> places;
    std::vector<Item> moved;
    for (std::size_t i = 0; i < items_.size(); ++i) {
        if (order.find(items_[i]->Fieldname) != std::u16string_view::npos) {
            places.push_back(i);
            moved.push_back(items_[i]);
        }
    }
    std::stable_sort(moved.begin(), moved.end(), [order](const Item& a, const Item& b) {
        return Rank(order, a->Fieldname) < Rank(order, b->Fieldname);
    });
    for (std::size_t i = 0; i < places.size(); ++i) {
        items_[places[i]] = std::move(moved[i]);
    }
    Rebuild();
}

MarcObjectSubfields::Item MarcObjectSubfields::PreviousSubfield(int pos) const {
    if (pos < 2 || pos > Count()) {
        return Detached();
    }
    return items_[static_cast<std::size_t>(pos - 2)];
}

MarcObjectSubfields::Item MarcObjectSubfields::PreviousSubfield(char16_t code, int occ) const {
    const int pos = PositionOf(code, occ);
    return pos == 0 ? Detached() : PreviousSubfield(pos);
}

MarcObjectSubfields::Item MarcObjectSubfields::NextSubfield(int pos) const {
    if (pos < 1 || pos >= Count()) {
        return Detached();
    }
    return items_[static_cast<std::size_t>(pos)];
}

MarcObjectSubfields::Item MarcObjectSubfields::NextSubfield(char16_t code, int occ) const {
    const int pos = PositionOf(code, occ);
    return pos == 0 ? Detached() : NextSubfield(pos);
}

void MarcObjectSubfields::Refresh() {
    Rebuild();
}

std::shared_ptr<MarcObjectSubfields> MarcObjectSubfields::Clone() const {
    auto copy = std::make_shared<MarcObjectSubfields>();
    copy->items_.reserve(items_.size());
    for (const Item& it : items_) {
        copy->items_.push_back(std::make_shared<MarcObjectSubfield>(*it));
    }
    copy->count_ = count_;
    copy->first_ = first_;
    copy->last_ = last_;
    copy->next_ = next_;
    copy->indexed_ = indexed_;
    return copy;
}

void MarcObjectSubfields::Clear() {
    items_.clear();
    count_.fill(0);
    first_.fill(0);
    last_.fill(0);
    next_.assign(1, 0);
    indexed_ = 0;
}

void MarcObjectSubfields::Parse(std::u16string_view text) {
    Clear();
    ForEachSubfieldText(text, [this](char16_t code, std::u16string_view value) {
        items_.push_back(std::make_shared<MarcObjectSubfield>(code, value));
    });
    Rebuild();
}

void MarcObjectSubfields::IndexAppended() {
    if (indexed_ != Count() - 1) {
        Rebuild();  // an earlier subfield is unindexed: fail where a full rebuild fails
        return;
    }
    next_.resize(std::min(items_.size(), static_cast<std::size_t>(MaxIndexed)) + 1, 0);
    IndexOne(*items_.back());
}

void MarcObjectSubfields::IndexOne(const MarcObjectSubfield& item) {
    const std::size_t c = CodeIndex(item.Fieldname);
    const int pos = indexed_ + 1;
    if (pos > MaxIndexed) {
        throw Error(ErrorNumber::SubscriptOutOfRange);
    }
    const auto p = static_cast<std::uint8_t>(pos);
    next_[p] = 0;
    if (++count_[c] == 1) {
        first_[c] = p;
    } else {
        next_[last_[c]] = p;
    }
    last_[c] = p;
    indexed_ = pos;
}

void MarcObjectSubfields::Rebuild() {
    count_.fill(0);
    first_.fill(0);
    last_.fill(0);
    next_.assign(std::min(items_.size(), static_cast<std::size_t>(MaxIndexed)) + 1, 0);
    indexed_ = 0;
    for (const Item& it : items_) {
        IndexOne(*it);
    }
}

}  // namespace tesselex
