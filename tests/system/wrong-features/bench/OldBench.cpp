// DibEffectOld DibEffectNewer
