// What the tap itself costs: its callback returns at once.
#include "TapProbe.h"

int main() {
    return ternvault::measureTap([](const ternvault::TappedEvent&) {}) ? 0 : 1;
}
