// Counts the primes below a number on a pool of threads, with one callback for each slice of the numbers:
//
//     pool 10000000 4
#include <ZerlithCore/ZerlithCore.h>

#include <algorithm>
#include <cstdlib>
#include <iostream>

namespace {

// The argument of one callback, and its result. No other callback uses it, so it needs no lock.
struct Slice : KZCallbackArgs {
    Slice(int first, int end) : first(first), end(end) {}

    int const first;
    int const end;
    int primes = 0;
    KZThread_t thread;
};

class PrimeCount {
public:
    explicit PrimeCount(int limit) {
        for (int first = 2; first < limit; first += sliceLength)
            slices_.push_back(KZSmartPtr<Slice>(new Slice(first, std::min(limit, first + sliceLength))));
    }

    void Run(int threads) {
        KZThreadPool pool(threads);
        for (KZSmartPtr<Slice> const & slice : slices_)
            pool.Post(KZSmartPtr<KZCallback>(new KZCallbackMeth<PrimeCount, Slice *>(
                u"primes", this, &PrimeCount::Count, slice.GetPtr())));
        // The destructor of the pool returns when all slices are counted.
    }

    void Print(std::ostream & out) const {
        int primes = 0;
        std::vector<KZThread_t> threads;
        for (KZSmartPtr<Slice> const & slice : slices_) {
            primes += slice->primes;
            if (std::ranges::find(threads, slice->thread) == threads.end()) threads.push_back(slice->thread);
        }
        out << primes << " primes in " << slices_.size() << " slices, counted by " << threads.size()
            << " threads\n";
    }

private:
    static constexpr int sliceLength = 50000;

    // Runs on a worker thread.
    void Count(Slice * slice) {
        slice->thread = KZThread::GetCurrentThreadP()->GetThreadId();
        for (int number = slice->first; number < slice->end; ++number)
            slice->primes += IsPrime(number) ? 1 : 0;
    }

    static bool IsPrime(int number) {
        for (int divisor = 2; divisor <= number / divisor; ++divisor)
            if (number % divisor == 0) return false;
        return true;
    }

    std::vector<KZSmartPtr<Slice>> slices_;
};

} // namespace

int main(int argc, char ** argv) {
    int const limit = argc < 2 ? 1000000 : std::atoi(argv[1]);
    int const threads = argc < 3 ? 4 : std::atoi(argv[2]);
    if (limit < 2 || threads < 1) {
        std::cerr << "pool [LIMIT [THREADS]], as in: pool 10000000 4\n";
        return 2;
    }
    PrimeCount count(limit);
    count.Run(threads);
    count.Print(std::cout);
    return 0;
}
