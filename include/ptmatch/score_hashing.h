#pragma once

#include <memory>

#include "foundation/export.h"
#include "foundation/vector.h"

/// Keeps the best `maxResults()` of a stream of positions that carry small integer scores, without
/// sorting them: one list per score, all nodes from one pool.
///
///     rxScoreHashing best(100, 3);                  // scores 0 to 100, three positions
///     best.add(42, rxPair<long>(7, 9));
///     rxPair<long> position;
///     for (long score = best.first(position); score >= 0; score = best.next(position)) ...
///
/// 1. `next` visits the scores from the highest to the lowest, and the positions of one score from
///    the latest to the oldest.
/// 2. A full store refuses what does not beat its lowest score: a tie never displaces anybody.
/// 3. A better position displaces the latest position of the lowest score.
///
/// All memory (a pointer per score, a node per position) is taken by the constructor and by `max`.
/// `add`, `first` and `next` allocate nothing and take constant time but for the walk over empty
/// scores. One thread at a time; const members from any number.
class PTMATCH_EXPORT rxScoreHashing {
  public:
    /// A store for scores 0 to maxScore that keeps at most maxResults positions.
    /// A dimension below 1 is reported to the assertion hook (code 12, and 45 by the call of `max`)
    /// and taken as it is: a store without room refuses every position, one with a maximum score
    /// below 0 every score.
    /// @throws std::bad_alloc: the memory is not to be had, or a dimension exceeds 2^31 - 1.
    explicit rxScoreHashing(long maxScore = 1000, long maxResults = 1);

    rxScoreHashing(const rxScoreHashing&) = delete;
    rxScoreHashing& operator=(const rxScoreHashing&) = delete;
    ~rxScoreHashing();

    /// Gives the store new dimensions and empties it; a dimension that stays keeps its memory.
    /// A dimension below 1 is reported to the assertion hook (code 45) and taken as it is.
    /// @throws std::bad_alloc as the constructor; the store is then what it was, entries included.
    void max(long maxScore, long maxResults);

    /// Empties the store and ends the iteration. Cost O(maxScore()).
    void clear();

    /// Offers a position.
    /// @return whether it was taken: false for a score outside 0 to maxScore(), and in a full store
    /// for one that is not above lowestScore(); the store is then unchanged.
    /// An iteration that is under way has to be begun anew with `first`.
    bool add(long score, rxPair<long> position);

    /// Begins the iteration at the latest position of the highest score.
    /// @return that score; -1 for an empty store, and `position` is left alone.
    long first(rxPair<long>& position);

    /// The next position in the iteration.
    /// @return its score; -1 when none is left or none was begun, however often it is asked, and
    /// `position` is left alone.
    long next(rxPair<long>& position);

    /// The highest score that is taken.
    long maxScore() const { return maxScore_; }
    /// The most positions that are kept.
    long maxResults() const { return maxResults_; }
    /// The positions held.
    long numResults() const { return numResults_; }

    /// The highest score held; -1 for an empty store.
    long highestScore() const { return highScore_; }
    /// The lowest score held; -1 for an empty store.
    long lowestScore() const { return lowScore_; }

  private:
    struct Node;

    Node* evictLowest(long newScore);

    // In use are exactly numResults_ nodes, linked into the lists; before the first eviction they
    // are the first numResults_ of the pool. A list runs from its latest position to the oldest.
    long maxResults_ = 0;
    long maxScore_ = 0;
    long numResults_ = 0;
    Node* iterNode_ = nullptr;
    long iterScore_ = -1;
    std::unique_ptr<Node*[]> buckets_;
    std::unique_ptr<Node[]> pool_;
    long highScore_ = -1;
    long lowScore_ = -1;
};
