// DibEffectOld, DibEffectOlder
