#include <netloom/layout_strategy.h>

CLayoutStrategy::~CLayoutStrategy() = default;
