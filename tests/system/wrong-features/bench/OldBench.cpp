// LoadOLD DibEffectOld DibEffectNewer
